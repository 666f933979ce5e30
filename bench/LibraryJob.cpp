#include <cstdio>
#include <cstdlib>
#include <vector>

#include "bench/MainJob.h"
#include "central/OruCentralSm.h"
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

class LibraryJob : public MainJob {
 public:
  explicit LibraryJob(DeviceSize size) : size_(size) {
    for (int slice = 0; slice < size.slices; ++slice) addBoard(slice);
    root_ = centralSmFactory(hwConfig_, dir(), config_, status_, system_, requests_, dir(), dir(),
                             dir(), dir(), makeNode<Helper>("helper"));
    requests_->entityIs(requester_);
    requester_->resetRequestIs(request_);
  }

  void insertSlice(int slice) override {
    Board& board = boards_[static_cast<std::size_t>(slice)];
    board.hwConfig->genTimeIs(Kesh::System::currentTime());
    hwConfig_->entityIs(board.hwConfig);
    status_->entityIs(board.statusDir);
    auto const configDir = ptrCast<Kesh::Dir>(config_->entityPtr(board.hwConfig->name()));
    for (Chip& chip : board.chips)
      chip.config = ptrCast<ChipConfig>(configDir->entityPtr(chip.status->name()));
  }

  void publishSlice(int slice) override {
    for (Chip& chip : boards_[static_cast<std::size_t>(slice)].chips)
      chip.status->genTimeIs(chip.config->genTime());
  }

  void resetEverything() override { request_->genTimeIs(Kesh::System::currentTime()); }

  void removeSlice(int slice) override {
    Board const& board = boards_[static_cast<std::size_t>(slice)];
    hwConfig_->deleteEntity(board.hwConfig->name());
    status_->deleteEntity(board.hwConfig->name());
  }

  std::size_t published() const override {
    std::size_t inSlices = 0;
    for (auto it = system_->sliceToChipMap().iterator(); it; ++it)
      inSlices += it.value().chip().size();
    return system_->chipInfo().size() + inSlices + system_->intfToChipPort().size();
  }

 private:
  struct Chip {
    Ptr<ChipStatus> status;
    Ptr<ChipConfig> config;
  };
  struct Board {
    Ptr<SliceHwConfig> hwConfig;
    Ptr<Kesh::Dir> statusDir;
    std::vector<Chip> chips;
  };

  static Ptr<Kesh::Dir> dir() { return makeNode<Kesh::Dir>("dir"); }

  void addBoard(int slice) {
    String const name(sliceName(slice));
    Board board{makeNode<SliceHwConfig>(name), makeNode<Kesh::Dir>(name), {}};
    for (int chip = 0; chip < size_.chips; ++chip) addChip(board, slice, chip);
    boards_.push_back(board);
  }

  void addChip(Board& board, int slice, int chip) {
    String const name(chipName(slice, chip));
    auto const hwConfig = makeNode<ChipHwConfig>(name);
    auto const status = makeNode<ChipStatus>(name);
    hwConfig->deviceIdIs(static_cast<std::uint16_t>(slice * size_.chips + chip));
    for (int port = 0; port < size_.ports; ++port) {
      auto const hwPort = makeNode<PortHwConfig>(String(intfName(slice, chip, port)));
      hwConfig->portConfigIs(static_cast<PortId>(port), hwPort);
      status->intfToPortIdIs(hwPort->intfId(), static_cast<PortId>(port));
    }
    board.hwConfig->chipConfigIs(hwConfig);
    board.statusDir->entityIs(status);
    board.chips.push_back({status, nullptr});
  }

  DeviceSize const size_;
  std::vector<Board> boards_;
  Ptr<Kesh::Dir> const hwConfig_ = dir(), config_ = dir(), status_ = dir(), requests_ = dir();
  Ptr<SystemStatus> const system_ = makeNode<SystemStatus>("system");
  Ptr<ResetRequestDir> const requester_ = makeNode<ResetRequestDir>("operator");
  Ptr<ResetEntry> const request_ = makeNode<ResetEntry>(ResetKey(ResetType::allSlices, "", ""));
  Ptr<CentralSm> root_;
};

}  // namespace

std::unique_ptr<MainJob> libraryJob(DeviceSize size) { return std::make_unique<LibraryJob>(size); }

}  // namespace Bench
