// The peer: the same logic as an engineer would write it with common libraries: shared pointers,
// standard maps keyed by strings, a signal per attribute that others may watch, a logger whose
// level is off.

#include <spdlog/sinks/null_sink.h>
#include <spdlog/spdlog.h>

#include <boost/signals2/signal.hpp>
#include <chrono>
#include <memory>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "bench/MainJob.h"

namespace Bench {

namespace {

double now() {
  return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

spdlog::logger& log() {
  static spdlog::logger logger = [] {
    spdlog::logger made("supervision", std::make_shared<spdlog::sinks::null_sink_mt>());
    made.set_level(spdlog::level::off);
    return made;
  }();
  return logger;
}

template <class T>
class Attribute {
 public:
  T const& get() const { return value_; }
  void set(T value) {
    if (value == value_) return;
    value_ = std::move(value);
    changed(value_);
  }
  boost::signals2::signal<void(T const&)> changed;

 private:
  T value_{};
};

template <class K, class V>
class Table {
 public:
  std::unordered_map<K, V> const& all() const { return members_; }
  void set(K const& key, V value) {
    members_.insert_or_assign(key, std::move(value));
    changed(key);
  }
  void erase(K const& key) {
    if (members_.erase(key)) changed(key);
  }
  boost::signals2::signal<void(K const&)> changed;

 private:
  std::unordered_map<K, V> members_;
};

struct ChipHw {
  int deviceId;
  std::unordered_map<int, std::string> ports;
};
struct SliceHw {
  Attribute<double> genTime;
  std::unordered_map<std::string, std::shared_ptr<ChipHw>> chips;
};
struct Config {
  Attribute<int> deviceId;
  Attribute<bool> enabled;
  Attribute<double> genTime;
  Attribute<double> syncGenTime;
};
struct Status {
  Attribute<double> genTime;
  std::unordered_map<std::string, int> intfToPort;
};
struct ChipInfo {
  int deviceId = 64;
  std::string name;
  std::string slice;
  std::set<std::string> intfs;
  double genTime = 0;
};
struct ChipPort {
  int device;
  int port;
};
struct System {
  Table<int, ChipInfo> chipInfo;
  Table<std::string, ChipPort> intfToChipPort;
  Table<std::string, std::set<int>> sliceToChips;
};
struct Launcher {
  Table<std::string, bool> entries;
};

class ChipMachine {
 public:
  ChipMachine(std::string name, std::string slice, std::shared_ptr<ChipHw> hw,
              std::shared_ptr<Config> config, std::shared_ptr<Status> status,
              std::shared_ptr<System> system, std::shared_ptr<Launcher> launcher)
      : name_(std::move(name)),
        slice_(std::move(slice)),
        hw_(std::move(hw)),
        config_(std::move(config)),
        status_(std::move(status)),
        system_(std::move(system)),
        launcher_(std::move(launcher)) {
    connection_ = status_->genTime.changed.connect([this](double) { running(); });
    log().info("starting chip agent {}", name_);
    launcher_->entries.set(name_, true);
    running();
  }
  ~ChipMachine() {
    reset(false);
    log().info("stopping chip agent {}", name_);
    launcher_->entries.erase(name_);
  }

  std::shared_ptr<Config> const& config() const { return config_; }

  void running() {
    log().debug("running {}", name_);
    double const configured = config_->genTime.get();
    log().info("config {} status {}", configured, status_->genTime.get());
    if (configured == 0 || configured != status_->genTime.get() || !config_->enabled.get()) return;
    log().info("chip is initialized {} {}", name_, configured);
    add();
  }

  void reset(bool enabled) {
    log().debug("reset {} {}", name_, enabled);
    remove();
    config_->enabled.set(enabled);
    config_->genTime.set(now());
    config_->syncGenTime.set(now());
    log().warn("reset chip {} with {}", name_, config_->genTime.get());
  }

 private:
  void add() {
    log().debug("add {}", name_);
    int const id = config_->deviceId.get();
    auto const found = system_->chipInfo.all().find(id);
    if (found != system_->chipInfo.all().end()) {
      if (found->second.genTime == status_->genTime.get()) return;
      remove();
    }
    ChipInfo info{id, name_, slice_, {}, config_->genTime.get()};
    for (auto const& [port, intf] : hw_->ports) info.intfs.insert(intf);
    for (auto const& [intf, port] : status_->intfToPort)
      system_->intfToChipPort.set(intf, ChipPort{id, port});
    std::set<int> chips;
    auto const slice = system_->sliceToChips.all().find(slice_);
    if (slice != system_->sliceToChips.all().end()) chips = slice->second;
    chips.insert(id);
    system_->sliceToChips.set(slice_, std::move(chips));
    system_->chipInfo.set(id, std::move(info));
  }

  void remove() {
    log().debug("remove {}", name_);
    int const id = config_->deviceId.get();
    auto const found = system_->chipInfo.all().find(id);
    if (found == system_->chipInfo.all().end()) return;
    for (std::string const& intf : found->second.intfs) system_->intfToChipPort.erase(intf);
    auto const slice = system_->sliceToChips.all().find(slice_);
    std::set<int> chips =
        slice == system_->sliceToChips.all().end() ? std::set<int>() : slice->second;
    chips.erase(id);
    system_->sliceToChips.set(slice_, std::move(chips));
    system_->chipInfo.erase(id);
  }

  std::string name_;
  std::string slice_;
  std::shared_ptr<ChipHw> hw_;
  std::shared_ptr<Config> config_;
  std::shared_ptr<Status> status_;
  std::shared_ptr<System> system_;
  std::shared_ptr<Launcher> launcher_;
  boost::signals2::scoped_connection connection_;
};

struct SliceMachine {
  std::unordered_map<std::string, std::shared_ptr<ChipMachine>> chips;
};

class CommodityJob : public MainJob {
 public:
  explicit CommodityJob(DeviceSize size) {
    for (int slice = 0; slice < size.slices; ++slice) {
      Board board{sliceName(slice), std::make_shared<SliceHw>(), {}};
      for (int chip = 0; chip < size.chips; ++chip) {
        auto hw = std::make_shared<ChipHw>();
        auto status = std::make_shared<Status>();
        hw->deviceId = slice * size.chips + chip;
        for (int port = 0; port < size.ports; ++port) {
          hw->ports.emplace(port, intfName(slice, chip, port));
          status->intfToPort.emplace(intfName(slice, chip, port), port);
        }
        board.hw->chips.emplace(chipName(slice, chip), hw);
        board.status.emplace(chipName(slice, chip), status);
      }
      boards_.push_back(std::move(board));
    }
  }

  void insertSlice(int index) override {
    Board& board = boards_[static_cast<std::size_t>(index)];
    board.hw->genTime.set(now());
    auto& configs = configs_[board.name];
    for (auto const& [name, hw] : board.hw->chips) {
      auto& config = configs[name];
      if (!config) config = std::make_shared<Config>();
      config->deviceId.set(hw->deviceId);
    }
    auto& taken = hwStatus_[board.name];
    if (!taken) taken = std::make_shared<Attribute<double>>();
    log().info("starting slice agent {}", board.name);
    sliceLauncher_->entries.set(board.name, true);
    auto& slice = slices_[board.name];
    slice = std::make_shared<SliceMachine>();
    for (auto const& [name, hw] : board.hw->chips) {
      slice->chips.emplace(
          name, std::make_shared<ChipMachine>(name, board.name, hw, configs[name],
                                              board.status[name], system_, chipLauncher_));
    }
    if (board.hw->genTime.get() <= taken->get()) return;
    for (auto const& [name, chip] : slice->chips) chip->reset(true);
    taken->set(board.hw->genTime.get());
  }

  void publishSlice(int index) override {
    Board& board = boards_[static_cast<std::size_t>(index)];
    for (auto const& [name, chip] : slices_[board.name]->chips) {
      board.status[name]->genTime.set(chip->config()->genTime.get());
    }
  }

  void resetEverything() override {
    double const requested = now();
    for (auto const& [sliceName, slice] : slices_) {
      for (auto const& [chipName, chip] : slice->chips)
        if (requested > chip->config()->genTime.get()) chip->reset(true);
    }
  }

  void removeSlice(int index) override {
    Board& board = boards_[static_cast<std::size_t>(index)];
    hwStatus_.erase(board.name);
    slices_.erase(board.name);
    log().info("stopping slice agent {}", board.name);
    sliceLauncher_->entries.erase(board.name);
    system_->sliceToChips.erase(board.name);
  }

  std::size_t published() const override {
    std::size_t inSlices = 0;
    for (auto const& [name, chips] : system_->sliceToChips.all()) inSlices += chips.size();
    return system_->chipInfo.all().size() + inSlices + system_->intfToChipPort.all().size();
  }

 private:
  struct Board {
    std::string name;
    std::shared_ptr<SliceHw> hw;
    std::unordered_map<std::string, std::shared_ptr<Status>> status;
  };

  std::vector<Board> boards_;
  std::unordered_map<std::string, std::unordered_map<std::string, std::shared_ptr<Config>>>
      configs_;
  std::unordered_map<std::string, std::shared_ptr<Attribute<double>>> hwStatus_;
  std::shared_ptr<System> system_ = std::make_shared<System>();
  std::shared_ptr<Launcher> sliceLauncher_ = std::make_shared<Launcher>();
  std::shared_ptr<Launcher> chipLauncher_ = std::make_shared<Launcher>();
  std::unordered_map<std::string, std::shared_ptr<SliceMachine>> slices_;
};

}  // namespace

std::unique_ptr<MainJob> commodityJob(DeviceSize size) {
  return std::make_unique<CommodityJob>(size);
}

}  // namespace Bench
