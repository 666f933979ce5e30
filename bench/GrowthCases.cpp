// How the cost of one event grows with what stands around it. One chip of the first slice is
// withdrawn and published again, or one more slice is inserted; around it grow, one at a time, the
// other slices, the chips of its own slice, its ports, the requests of the same requester, and the
// idle chips of another slice. The figure is per event; with the ports, per
// port of a publication or withdrawal.

#include <cstdlib>
#include <memory>
#include <string>

#include "bench/Case.h"
#include "bench/LibraryDevice.h"
#include "bench/Tracing.h"
#include "runtime/kesh/System.h"

namespace Bench {

namespace {

using namespace Oru::Central;
using Vunda::Ptr, Vunda::String;

struct Surroundings {
  int slices = 4;
  int chips = 4;
  int ports = 8;
  int requests = 4;
  int idle = 4;
};

class GrowingDevice {
 public:
  explicit GrowingDevice(Surroundings const& around)
      : board_(LibraryDevice::makeBoard(0, around.chips, around.ports, &deviceId)),
        another_(LibraryDevice::makeBoard(around.slices, 1, around.ports, &otherDeviceId)),
        request_(makeRequest(board_.chips[0]->name())) {
    device_.insert(board_);
    config_ = device_.configOf(board_, 0);
    device_.insert(LibraryDevice::makeBoard(1, around.idle, 0, &otherDeviceId));
    for (int slice = 2; slice < around.slices; ++slice)
      device_.insert(LibraryDevice::makeBoard(slice, 1, 0, &otherDeviceId));
    for (int i = 0; i < around.requests; ++i) makeRequest(String("Absent" + std::to_string(i)));
  }

  void publish() { board_.chips[0]->genTimeIs(config_->genTime()); }
  void reset() { request_->genTimeIs(Kesh::System::currentTime()); }
  bool isPublished() const { return device_.system().chipInfo().size() == 1; }
  void insertAnother() { device_.insert(another_); }
  void removeAnother() { device_.remove(another_); }

 private:
  // Device ids run in a circle; that of the chip in question is nobody else's.
  static int otherDeviceId(int chip) { return chip % 63; }
  static int deviceId(int chip) { return chip == 0 ? 63 : otherDeviceId(chip); }

  Ptr<ResetEntry> makeRequest(String const& chip) {
    return device_.request(ResetKey(ResetType::chip, chip, String(sliceName(0))));
  }

  LibraryDevice device_;
  LibraryDevice::Board const board_, another_;
  Ptr<ResetEntry> const request_;
  Ptr<ChipConfig> config_;
};

enum class Event { publication, withdrawal, insertion };

void life(GrowingDevice& device, Event event, Meter& meter) {
  auto const step = [&](Event which, void (GrowingDevice::*action)()) {
    if (event == which) meter.start();
    (device.*action)();
    if (event == which) meter.stop();
  };
  step(Event::publication, &GrowingDevice::publish);
  if (!device.isPublished()) std::abort();
  step(Event::withdrawal, &GrowingDevice::reset);
  if (device.isPublished()) std::abort();
  step(Event::insertion, &GrowingDevice::insertAnother);
  device.removeAnother();
}

// `parts` is what the figure is divided by: 1, or the chip's ports.
void add(std::string const& name, Event event, int parts, Surroundings const& around) {
  constexpr int events = 8;
  auto const perEvent = static_cast<std::uint64_t>(parts);
  Register("growth." + name, events * perEvent, [=]() -> Body {
    auto const device = std::make_shared<GrowingDevice>(around);
    return [=](Meter& meter, std::uint64_t operations) {
      tracingIs(Tracing::ring);
      for (std::uint64_t done = 0; done < operations; done += perEvent) life(*device, event, meter);
    };
  });
}

void addGrowing(std::string const& what, Event event, std::string const& grows,
                int Surroundings::*member) {
  for (int const factor : {1, 10, 100}) {
    Surroundings around;
    around.*member *= factor;
    int const count = around.*member;
    bool const perPort = grows == "ports" && event != Event::insertion;
    add(what + "/" + grows + "/" + std::to_string(count), event, perPort ? count : 1, around);
  }
}

struct RegisterGrowth {
  RegisterGrowth() {
    for (auto const& [what, event] : {std::pair{"publication", Event::publication},
                                      {"withdrawal", Event::withdrawal},
                                      {"insertion", Event::insertion}}) {
      addGrowing(what, event, "slices", &Surroundings::slices);
      addGrowing(what, event, "chips", &Surroundings::chips);
      addGrowing(what, event, "ports", &Surroundings::ports);
      addGrowing(what, event, "requests", &Surroundings::requests);
      addGrowing(what, event, "idle", &Surroundings::idle);
    }
  }
} const registerGrowth;

}  // namespace

}  // namespace Bench
