// Floor C: the main job's writes with ids alone, in sorted vectors and arrays. What is known
// beforehand (which chip has which ports) is laid out beforehand. About the least that the
// published data can cost.

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <vector>

#include "bench/MainJob.h"

namespace Bench {

namespace {

double now() {
  return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

constexpr std::uint32_t noPort = 64;

class ArrayJob : public MainJob {
 public:
  explicit ArrayJob(DeviceSize size)
      : size_(size),
        chips_(static_cast<std::size_t>(size.slices * size.chips)),
        sliceToChips_(static_cast<std::size_t>(size.slices)),
        launched_(static_cast<std::size_t>(size.slices)),
        hwStatus_(static_cast<std::size_t>(size.slices)),
        intfToChipPort_(chips_.size() * static_cast<std::size_t>(size.ports), noPort) {}

  void insertSlice(int slice) override {
    double const genTime = now();
    launched_[static_cast<std::size_t>(slice)] = true;
    for (int chip = 0; chip < size_.chips; ++chip) chipAt(slice, chip).launched = true;
    if (genTime <= hwStatus_[static_cast<std::size_t>(slice)]) return;
    for (int chip = 0; chip < size_.chips; ++chip) reset(slice, chip, true);
    hwStatus_[static_cast<std::size_t>(slice)] = genTime;
  }

  void publishSlice(int slice) override {
    for (int chip = 0; chip < size_.chips; ++chip) {
      Chip& one = chipAt(slice, chip);
      one.reported = one.genTime;
      if (one.genTime != 0 && one.enabled) add(slice, chip);
    }
  }

  void resetEverything() override {
    double const requested = now();
    for (int slice = 0; slice < size_.slices; ++slice) {
      for (int chip = 0; chip < size_.chips; ++chip) {
        if (launched_[static_cast<std::size_t>(slice)] && requested > chipAt(slice, chip).genTime)
          reset(slice, chip, true);
      }
    }
  }

  void removeSlice(int slice) override {
    hwStatus_[static_cast<std::size_t>(slice)] = 0;
    for (int chip = 0; chip < size_.chips; ++chip) {
      reset(slice, chip, false);
      chipAt(slice, chip).launched = false;
    }
    launched_[static_cast<std::size_t>(slice)] = false;
    sliceToChips_[static_cast<std::size_t>(slice)].clear();
  }

  std::size_t published() const override {
    std::size_t count = 0;
    for (Chip const& chip : chips_) count += !chip.intfs.empty();
    for (auto const& chips : sliceToChips_) count += chips.size();
    for (std::uint32_t port : intfToChipPort_) count += port != noPort;
    return count;
  }

 private:
  struct Chip {
    bool launched = false;
    bool enabled = false;
    double genTime = 0;
    double syncGenTime = 0;
    double reported = 0;
    double publishedGenTime = 0;
    std::vector<std::uint32_t> intfs;  // published, sorted
  };

  std::size_t index(int slice, int chip) const {
    return static_cast<std::size_t>(slice * size_.chips + chip);
  }
  Chip& chipAt(int slice, int chip) { return chips_[index(slice, chip)]; }

  void add(int slice, int chip) {
    Chip& one = chipAt(slice, chip);
    if (!one.intfs.empty()) {
      if (one.publishedGenTime == one.reported) return;
      remove(slice, chip);
    }
    auto const id = static_cast<std::uint32_t>(index(slice, chip));
    auto const first = id * static_cast<std::uint32_t>(size_.ports);
    one.intfs.resize(static_cast<std::size_t>(size_.ports));
    for (std::uint32_t port = 0; port < one.intfs.size(); ++port) {
      one.intfs[port] = first + port;
      intfToChipPort_[first + port] = id | port << 16;
    }
    auto& chips = sliceToChips_[static_cast<std::size_t>(slice)];
    chips.insert(std::lower_bound(chips.begin(), chips.end(), id), id);
    one.publishedGenTime = one.genTime;
  }

  void remove(int slice, int chip) {
    Chip& one = chipAt(slice, chip);
    if (one.intfs.empty()) return;
    for (std::uint32_t intf : one.intfs) intfToChipPort_[intf] = noPort;
    auto& chips = sliceToChips_[static_cast<std::size_t>(slice)];
    auto const id = static_cast<std::uint32_t>(index(slice, chip));
    chips.erase(std::lower_bound(chips.begin(), chips.end(), id));
    one.intfs.clear();
  }

  void reset(int slice, int chip, bool enabled) {
    remove(slice, chip);
    Chip& one = chipAt(slice, chip);
    one.enabled = enabled;
    one.genTime = now();
    one.syncGenTime = now();
  }

  DeviceSize const size_;
  std::vector<Chip> chips_;
  std::vector<std::vector<std::uint32_t>> sliceToChips_;
  std::vector<bool> launched_;
  std::vector<double> hwStatus_;
  std::vector<std::uint32_t> intfToChipPort_;
};

}  // namespace

std::unique_ptr<MainJob> floorC(DeviceSize size) { return std::make_unique<ArrayJob>(size); }

}  // namespace Bench
