#include "bench/LibraryDevice.h"

#include "runtime/kesh/System.h"

namespace Bench {

using namespace Oru::Central;
using Vunda::makeNode, Vunda::Ptr, Vunda::ptrCast, Vunda::String;

namespace {

// What a platform's helper does at the least: creates the configurations, and notes what it hears.
class Helper : public OruHelper::CentralHelper {
 public:
  using CentralHelper::CentralHelper;

  void featureCollection(Ptr<FeatureCollection> const&) const override {}
  Ptr<ChipConfig> createChipConfig(String const& name, Ptr<Kesh::Dir> const& dir) override {
    return ptrCast<ChipConfig>(dir->createEntity(ChipConfig::typeName, name));
  }
  void chipAdded(ChipInfo const&) override { ++chips_; }
  void chipRemoved(DeviceId) override { --chips_; }

 private:
  int chips_ = 0;
};

}  // namespace

LibraryDevice::LibraryDevice()
    : system_(makeNode<SystemStatus>("system")), requester_(makeNode<ResetRequestDir>("operator")) {
  root_ = centralSmFactory(hwConfig_, dir(), config_, status_, system_, requests_, dir(), dir(),
                           dir(), dir(), makeNode<Helper>("helper"));
  requests_->entityIs(requester_);
}

Ptr<Kesh::Dir> LibraryDevice::dir() { return makeNode<Kesh::Dir>("dir"); }

LibraryDevice::Board LibraryDevice::makeBoard(int slice, int chips, int ports,
                                              DeviceIds const& deviceId) {
  String const name(sliceName(slice));
  Board board{makeNode<SliceHwConfig>(name), makeNode<Kesh::Dir>(name), {}};
  for (int chip = 0; chip < chips; ++chip) {
    auto const hwConfig = makeNode<ChipHwConfig>(String(chipName(slice, chip)));
    auto const status = makeNode<ChipStatus>(hwConfig->name());
    hwConfig->deviceIdIs(static_cast<std::uint16_t>(deviceId(chip)));
    for (int port = 0; port < ports; ++port) {
      auto const hwPort = makeNode<PortHwConfig>(String(intfName(slice, chip, port)));
      hwConfig->portConfigIs(static_cast<PortId>(port), hwPort);
      status->intfToPortIdIs(hwPort->intfId(), static_cast<PortId>(port));
    }
    board.hwConfig->chipConfigIs(hwConfig);
    board.statusDir->entityIs(status);
    board.chips.push_back(status);
  }
  return board;
}

void LibraryDevice::insert(Board const& board) {
  board.hwConfig->genTimeIs(Kesh::System::currentTime());
  hwConfig_->entityIs(board.hwConfig);
  status_->entityIs(board.statusDir);
}

void LibraryDevice::remove(Board const& board) {
  hwConfig_->deleteEntity(board.hwConfig->name());
  status_->deleteEntity(board.hwConfig->name());
}

Ptr<ChipConfig> LibraryDevice::configOf(Board const& board, std::size_t chip) {
  auto const slice = ptrCast<Kesh::Dir>(config_->entityPtr(board.hwConfig->name()));
  return ptrCast<ChipConfig>(slice->entityPtr(board.chips[chip]->name()));
}

Ptr<ResetEntry> LibraryDevice::request(ResetKey const& key) {
  auto const entry = makeNode<ResetEntry>(key);
  requester_->resetRequestIs(entry);
  return entry;
}

}  // namespace Bench
