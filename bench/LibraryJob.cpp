#include <memory>
#include <vector>

#include "bench/LibraryDevice.h"
#include "bench/MainJob.h"
#include "runtime/kesh/System.h"

namespace Bench {

using namespace Oru::Central;
using Vunda::Ptr;

namespace {

class LibraryJob : public MainJob {
 public:
  explicit LibraryJob(DeviceSize size) {
    for (int slice = 0; slice < size.slices; ++slice) {
      slices_.push_back(
          {LibraryDevice::makeBoard(slice, size.chips, size.ports,
                                    [&](int chip) { return slice * size.chips + chip; }),
           {}});
    }
  }

  void insertSlice(int index) override {
    Slice& slice = slices_[static_cast<std::size_t>(index)];
    device_.insert(slice.board);
    if (!slice.configs.empty()) return;
    for (std::size_t chip = 0; chip < slice.board.chips.size(); ++chip)
      slice.configs.push_back(device_.configOf(slice.board, chip));
  }

  void publishSlice(int index) override {
    Slice const& slice = slices_[static_cast<std::size_t>(index)];
    for (std::size_t chip = 0; chip < slice.configs.size(); ++chip)
      slice.board.chips[chip]->genTimeIs(slice.configs[chip]->genTime());
  }

  void resetEverything() override { request_->genTimeIs(Kesh::System::currentTime()); }

  void removeSlice(int index) override {
    device_.remove(slices_[static_cast<std::size_t>(index)].board);
  }

  std::size_t published() const override {
    SystemStatus const& system = device_.system();
    std::size_t inSlices = 0;
    for (auto it = system.sliceToChipMap().iterator(); it; ++it)
      inSlices += it.value().chip().size();
    return system.chipInfo().size() + inSlices + system.intfToChipPort().size();
  }

 private:
  struct Slice {
    LibraryDevice::Board board;
    std::vector<Ptr<ChipConfig>> configs;  // for its agents; found once, since they outlive it
  };

  LibraryDevice device_;
  std::vector<Slice> slices_;
  Ptr<ResetEntry> const request_ = device_.request(ResetKey(ResetType::allSlices, "", ""));
};

}  // namespace

std::unique_ptr<MainJob> libraryJob(DeviceSize size) { return std::make_unique<LibraryJob>(size); }

}  // namespace Bench
