// Floors A and B: the writes of the main job on plain structs and flat hash maps, without
// notifications, use counts, traces or checks that do not decide anything. A is keyed by names, B
// by ids that were given out before.
//
// The interfaces of a published chip are a vector: ours is a set that may be asked for a member, but
// in the main job nobody asks, they are only gone through when the chip is withdrawn. The chips of a
// slice are a set, since they come and go one by one. What the platform and the agents tell is only
// gone through, too: vectors.

#include <absl/container/flat_hash_map.h>
#include <absl/container/flat_hash_set.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "bench/MainJob.h"

namespace Bench {

namespace {

double now() {
  return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

// How a name is known: by itself, or by a number.
template <class Key>
Key known(std::string const& name);
template <>
std::string known<std::string>(std::string const& name) {
  return name;
}
template <>
std::uint32_t known<std::uint32_t>(std::string const& name) {
  static absl::flat_hash_map<std::string, std::uint32_t> ids;
  return ids.try_emplace(name, static_cast<std::uint32_t>(ids.size() + 1)).first->second;
}

struct ChipPort {
  std::uint8_t device;
  std::uint16_t port;
};

template <class Key>
class FlatJob : public MainJob {
 public:
  explicit FlatJob(DeviceSize size) {
    for (int slice = 0; slice < size.slices; ++slice) {
      Board board{known<Key>(sliceName(slice)), 0, {}};
      for (int chip = 0; chip < size.chips; ++chip) {
        HwChip hw{known<Key>(chipName(slice, chip)),
                  static_cast<std::uint8_t>(slice * size.chips + chip),
                  {},
                  {}};
        for (int port = 0; port < size.ports; ++port) {
          Key const intf = known<Key>(intfName(slice, chip, port));
          hw.ports.emplace_back(static_cast<std::uint16_t>(port), intf);
          hw.status.intfToPort.emplace_back(intf, static_cast<std::uint16_t>(port));
        }
        board.chips.push_back(std::move(hw));
      }
      boards_.push_back(std::move(board));
    }
  }

  void insertSlice(int index) override {
    Board& board = boards_[static_cast<std::size_t>(index)];
    board.genTime = now();
    auto& configs = config_[board.name];
    configs.reserve(board.chips.size());  // a chip keeps a pointer to its own
    auto& hwStatusGenTime = hwStatus_[board.name];
    sliceLauncher_.insert(board.name);
    auto& chips = slices_[board.name];
    for (HwChip& chip : board.chips) {
      ChipConfig& config = configs[chip.name];
      config.deviceId = chip.deviceId;
      chips.emplace(chip.name, Chip{chip.name, board.name, &chip, &config});
      chipLauncher_.insert(chip.name);
    }
    if (board.genTime > hwStatusGenTime) {
      for (auto& [name, chip] : chips) reset(chip, true);
      hwStatusGenTime = board.genTime;
    }
  }

  void publishSlice(int index) override {
    for (auto& [name, chip] : slices_.find(boards_[static_cast<std::size_t>(index)].name)->second) {
      chip.hw->status.genTime = chip.config->genTime;
      if (chip.config->genTime != 0 && chip.config->enabled) add(chip);
    }
  }

  void resetEverything() override {
    double const requested = now();
    for (auto& [sliceName, chips] : slices_) {
      for (auto& [chipName, chip] : chips)
        if (requested > chip.config->genTime) reset(chip, true);
    }
  }

  void removeSlice(int index) override {
    Key const& name = boards_[static_cast<std::size_t>(index)].name;
    hwStatus_.erase(name);
    auto const slice = slices_.find(name);
    for (auto& [chipName, chip] : slice->second) {
      reset(chip, false);
      chipLauncher_.erase(chipName);
    }
    sliceLauncher_.erase(name);
    sliceToChips_.erase(name);
    slices_.erase(slice);
  }

  std::size_t published() const override {
    std::size_t inSlices = 0;
    for (auto const& [name, chips] : sliceToChips_) inSlices += chips.size();
    return chipInfo_.size() + inSlices + intfToChipPort_.size();
  }

 private:
  struct Status {
    double genTime = 0;
    std::vector<std::pair<Key, std::uint16_t>> intfToPort;
  };
  struct HwChip {
    Key name;
    std::uint8_t deviceId;
    std::vector<std::pair<std::uint16_t, Key>> ports;
    Status status;
  };
  struct Board {
    Key name;
    double genTime;
    std::vector<HwChip> chips;
  };
  struct ChipConfig {
    std::uint8_t deviceId = 64;
    bool enabled = false;
    double genTime = 0;
    double syncGenTime = 0;
  };
  struct Chip {
    Key name;
    Key sliceName;
    HwChip* hw;
    ChipConfig* config;
  };
  struct ChipInfo {
    std::uint8_t deviceId = 64;
    Key name{};
    Key sliceName{};
    std::vector<Key> intfs;
    double genTime = 0;
  };

  void add(Chip& chip) {
    std::uint8_t const id = chip.config->deviceId;
    auto const [place, isNew] = chipInfo_.try_emplace(id);
    ChipInfo& info = place->second;
    if (!isNew) {
      if (info.genTime == chip.hw->status.genTime) return;
      withdrawInterfaces(info);
    }
    info = {id, chip.name, chip.sliceName, {}, chip.config->genTime};
    info.intfs.reserve(chip.hw->ports.size());
    for (auto const& [port, intf] : chip.hw->ports) info.intfs.push_back(intf);
    for (auto const& [intf, port] : chip.hw->status.intfToPort)
      intfToChipPort_.insert_or_assign(intf, ChipPort{id, port});
    sliceToChips_[chip.sliceName].insert(id);
  }

  void withdrawInterfaces(ChipInfo const& info) {
    for (Key const& intf : info.intfs) intfToChipPort_.erase(intf);
  }

  void remove(Chip& chip) {
    auto const it = chipInfo_.find(chip.config->deviceId);
    if (it == chipInfo_.end()) return;
    withdrawInterfaces(it->second);
    sliceToChips_[chip.sliceName].erase(chip.config->deviceId);
    chipInfo_.erase(it);
  }

  void reset(Chip& chip, bool enabled) {
    remove(chip);
    chip.config->enabled = enabled;
    chip.config->genTime = now();
    chip.config->syncGenTime = now();
  }

  std::vector<Board> boards_;
  absl::flat_hash_map<Key, absl::flat_hash_map<Key, ChipConfig>> config_;
  absl::flat_hash_map<Key, double> hwStatus_;
  absl::flat_hash_set<Key> sliceLauncher_;
  absl::flat_hash_set<Key> chipLauncher_;
  absl::flat_hash_map<Key, absl::flat_hash_map<Key, Chip>> slices_;
  absl::flat_hash_map<std::uint8_t, ChipInfo> chipInfo_;
  absl::flat_hash_map<Key, ChipPort> intfToChipPort_;
  absl::flat_hash_map<Key, absl::flat_hash_set<std::uint8_t>> sliceToChips_;
};

}  // namespace

std::unique_ptr<MainJob> floorA(DeviceSize size) {
  return std::make_unique<FlatJob<std::string>>(size);
}
std::unique_ptr<MainJob> floorB(DeviceSize size) {
  return std::make_unique<FlatJob<std::uint32_t>>(size);
}

}  // namespace Bench
