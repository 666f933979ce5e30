// How the cost of one event grows with what stands around it. One chip of the first slice is
// withdrawn and published again, or one more slice is inserted; around it grow, one at a time, the
// other slices, the published chips of its own slice (up to as many as there are device ids), its
// ports, the requests of the same requester, and the idle chips of its own slice. The figure is per
// event; with the ports, per port of a publication or withdrawal. A case is named
// "growth.event/what grows/how many".

#include <algorithm>
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
  int chips = 4;  // that are published, the one in question among them
  int ports = 8;
  int requests = 4;
  int idle = 4;
};

class GrowingDevice {
 public:
  explicit GrowingDevice(Surroundings const& around)
      : chips_(static_cast<std::size_t>(around.chips)),
        board_(LibraryDevice::makeBoard(0, around.chips + around.idle, around.ports, deviceIds())),
        another_(LibraryDevice::makeBoard(around.slices, 1, around.ports, &noDevice)),
        request_(makeRequest(board_.chips[0]->name())) {
    device_.insert(board_);
    config_ = device_.configOf(board_, 0);
    for (std::size_t chip = 1; chip < chips_; ++chip)
      board_.chips[chip]->genTimeIs(device_.configOf(board_, chip)->genTime());
    for (int slice = 1; slice < around.slices; ++slice)
      device_.insert(LibraryDevice::makeBoard(slice, 1, 0, &noDevice));
    for (int i = 0; i < around.requests; ++i) makeRequest(String("Absent" + std::to_string(i)));
  }

  void publish() { board_.chips[0]->genTimeIs(config_->genTime()); }
  void reset() { request_->genTimeIs(Kesh::System::currentTime()); }
  bool isPublished() const { return device_.system().chipInfo().size() == chips_; }
  void insertAnother() { device_.insert(another_); }
  void removeAnother() { device_.remove(another_); }

 private:
  static int noDevice(int) { return DeviceId::null; }
  // Those that are published have an id each, the others none.
  LibraryDevice::DeviceIds deviceIds() const {
    return [chips = static_cast<int>(chips_)](int chip) {
      return chip < chips ? chip : noDevice(chip);
    };
  }

  Ptr<ResetEntry> makeRequest(String const& chip) {
    return device_.request(ResetKey(ResetType::chip, chip, String(sliceName(0))));
  }

  std::size_t const chips_;
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

// Every device id, the null id apart.
constexpr int mostChips = DeviceId::null;

void addGrowing(std::string const& what, Event event, std::string const& grows,
                int Surroundings::*member) {
  for (int const factor : {1, 10, 100}) {
    Surroundings around;
    around.*member *= factor;
    around.chips = std::min(around.chips, mostChips);
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
