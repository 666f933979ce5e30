// Hosts the library: a slice with two chips comes up, one is reset, the slice is pulled. Prints
//> + Chip1 at generation 2
//> + Chip2 at generation 4
//> Ethernet1/1: port 7 of device 1
//> - device 1
//> + Chip1 at generation 7
//> - device 1
//> - device 2
//> chip agents wanted at the end: 0
#include <cstdio>

#include "central/OruCentralSm.h"
#include "runtime/kesh/System.h"

using namespace Oru::Central;
using Vunda::makeNode, Vunda::Ptr, Vunda::ptrCast, Vunda::String;

// What the platform does for the library, and hears from it.
struct Helper : OruHelper::CentralHelper {
  using CentralHelper::CentralHelper;
  void featureCollection(Ptr<FeatureCollection> const&) const override {}
  Ptr<ChipConfig> createChipConfig(String const& name, Ptr<Kesh::Dir> const& dir) override {
    return ptrCast<ChipConfig>(dir->createEntity(ChipConfig::typeName, name));
  }
  void chipAdded(ChipInfo const& chip) override {
    std::printf("+ %s at generation %g\n", chip.name().data(), chip.genTime().seconds());
  }
  void chipRemoved(DeviceId id) override { std::printf("- device %d\n", id.value()); }
};

int main() {
  static double time = 0;
  Kesh::System::clockIs([] { return Kesh::Seconds(++time); });  // the same output every time
  auto const dir = [](char const* name) { return makeNode<Kesh::Dir>(name); };
  auto const hwConfig = dir("hwConfig"), config = dir("config"), status = dir("status");
  auto const requests = dir("requests"), sliceAgents = dir("slices"), chipAgents = dir("chips");
  auto const system = makeNode<SystemStatus>("system");
  Ptr<CentralSm> const root =
      centralSmFactory(hwConfig, dir("hwStatus"), config, status, system, requests, dir("records"),
                       sliceAgents, chipAgents, dir("features"), makeNode<Helper>("helper"));

  // The platform inserts a slice.
  auto const slice = makeNode<SliceHwConfig>("Slice1");
  for (std::uint16_t id = 1; id <= 2; ++id) {
    auto const chip = makeNode<ChipHwConfig>(id == 1 ? "Chip1" : "Chip2");
    chip->deviceIdIs(id);
    chip->portConfigIs(7, makeNode<PortHwConfig>(id == 1 ? "Ethernet1/1" : "Ethernet2/1"));
    slice->chipConfigIs(chip);
  }
  slice->genTimeIs(Kesh::System::currentTime());
  hwConfig->entityIs(slice);

  // The agents that now have an entry in `slices` and `chips` report.
  auto const sliceStatus = dir("Slice1");
  for (auto name : {"Chip1", "Chip2"}) sliceStatus->entityIs(makeNode<ChipStatus>(name));
  Lanko::IntfId intf;
  intf.handleInitialized("Ethernet1/1");
  ptrCast<ChipStatus>(sliceStatus->entityPtr("Chip1"))->intfToPortIdIs(intf, 7);
  status->entityIs(sliceStatus);
  auto const sliceConfig = ptrCast<Kesh::Dir>(config->entityPtr("Slice1"));
  auto const report = [&](char const* chip) {
    ptrCast<ChipStatus>(sliceStatus->entityPtr(chip))
        ->genTimeIs(ptrCast<ChipConfig>(sliceConfig->entityPtr(chip))->genTime());
  };
  report("Chip1");
  report("Chip2");
  ChipPort const port = system->intfToChipPort(intf);
  std::printf("Ethernet1/1: port %d of device %d\n", port.portId(), port.deviceId().value());

  // An operator asks for a reset of the first chip; its agent follows. Then the slice is pulled.
  auto const request = makeNode<ResetEntry>(ResetKey(ResetType::chip, "Chip1", "Slice1"));
  request->genTimeIs(Kesh::System::currentTime());
  auto const requester = makeNode<ResetRequestDir>("operator");
  requests->entityIs(requester);
  requester->resetRequestIs(request);
  report("Chip1");
  hwConfig->deleteEntity("Slice1");
  status->deleteEntity("Slice1");
  std::printf("chip agents wanted at the end: %u\n", chipAgents->entityPtrCount());
}
