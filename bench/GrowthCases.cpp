// How the cost of one event grows with what stands around it. One chip of the first slice is
// withdrawn and published again, or one more slice is inserted; around it grow, one at a time, the
// other slices, the chips of its own slice, its ports, the requests of the same requester, and the
// idle chips of another slice. The figure is per event; with the ports, per
// port of a publication or withdrawal.

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "bench/Case.h"
#include "bench/MainJob.h"
#include "bench/Tracing.h"
#include "central/OruCentralSm.h"
#include "runtime/kesh/System.h"

namespace Bench {

namespace {

using namespace Oru::Central;
using Vunda::makeNode, Vunda::Ptr, Vunda::ptrCast, Vunda::String;

struct Surroundings {
  int slices = 4;
  int chips = 4;
  int ports = 8;
  int requests = 4;
  int idle = 4;
};

class Helper : public OruHelper::CentralHelper {
 public:
  using CentralHelper::CentralHelper;

  void featureCollection(Ptr<FeatureCollection> const&) const override {}
  Ptr<ChipConfig> createChipConfig(String const& name, Ptr<Kesh::Dir> const& dir) override {
    return ptrCast<ChipConfig>(dir->createEntity(ChipConfig::typeName, name));
  }
};

class GrowingDevice {
 public:
  explicit GrowingDevice(Surroundings const& around) {
    root_ = centralSmFactory(hwConfig_, dir(), config_, status_, system_, requests_, dir(), dir(),
                             dir(), dir(), makeNode<Helper>("helper"));
    insert(makeBoard(0, around.chips, around.ports));
    chip_ = ptrCast<ChipStatus>(chipEntity(status_));
    chipConfig_ = ptrCast<ChipConfig>(chipEntity(config_));
    insert(makeBoard(1, around.idle, 0));
    for (int slice = 2; slice < around.slices; ++slice) insert(makeBoard(slice, 1, 0));
    another_ = makeBoard(around.slices, 1, around.ports);
    for (int i = 0; i < around.requests; ++i) request(String("Absent" + std::to_string(i)));
    request_ = request(chip_->name());
    requests_->entityIs(requester_);
  }

  void publish() { chip_->genTimeIs(chipConfig_->genTime()); }
  void reset() { request_->genTimeIs(Kesh::System::currentTime()); }
  bool isPublished() const { return system_->chipInfo().size() == 1; }
  void insertAnother() { insert(another_); }
  void removeAnother() {
    hwConfig_->deleteEntity(another_.hwConfig->name());
    status_->deleteEntity(another_.hwConfig->name());
  }

 private:
  struct Board {
    Ptr<SliceHwConfig> hwConfig;
    Ptr<Kesh::Dir> statusDir;
  };

  static Ptr<Kesh::Dir> dir() { return makeNode<Kesh::Dir>("dir"); }

  // Device ids run in a circle; that of the chip in question is nobody else's.
  static Board makeBoard(int slice, int chips, int ports) {
    String const name(sliceName(slice));
    Board board{makeNode<SliceHwConfig>(name), makeNode<Kesh::Dir>(name)};
    for (int chip = 0; chip < chips; ++chip) {
      auto const hwConfig = makeNode<ChipHwConfig>(String(chipName(slice, chip)));
      auto const status = makeNode<ChipStatus>(hwConfig->name());
      hwConfig->deviceIdIs(static_cast<std::uint16_t>(slice == 0 && chip == 0 ? 63 : chip % 63));
      for (int port = 0; port < ports; ++port) {
        auto const hwPort = makeNode<PortHwConfig>(String(intfName(slice, chip, port)));
        hwConfig->portConfigIs(static_cast<PortId>(port), hwPort);
        status->intfToPortIdIs(hwPort->intfId(), static_cast<PortId>(port));
      }
      board.hwConfig->chipConfigIs(hwConfig);
      board.statusDir->entityIs(status);
    }
    return board;
  }

  void insert(Board const& board) {
    board.hwConfig->genTimeIs(Kesh::System::currentTime());
    hwConfig_->entityIs(board.hwConfig);
    status_->entityIs(board.statusDir);
  }

  static Ptr<Kesh::Entity> chipEntity(Ptr<Kesh::Dir> const& slices) {
    auto const slice = ptrCast<Kesh::Dir>(slices->entityPtr(String(sliceName(0))));
    return slice->entityPtr(String(chipName(0, 0)));
  }

  Ptr<ResetEntry> request(String const& chip) {
    auto const entry = makeNode<ResetEntry>(ResetKey(ResetType::chip, chip, String(sliceName(0))));
    requester_->resetRequestIs(entry);
    return entry;
  }

  Ptr<Kesh::Dir> const hwConfig_ = dir(), config_ = dir(), status_ = dir(), requests_ = dir();
  Ptr<SystemStatus> const system_ = makeNode<SystemStatus>("system");
  Ptr<ResetRequestDir> const requester_ = makeNode<ResetRequestDir>("operator");
  Ptr<CentralSm> root_;
  Ptr<ChipStatus> chip_;
  Ptr<ChipConfig> chipConfig_;
  Board another_;
  Ptr<ResetEntry> request_;
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
