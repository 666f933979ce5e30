#include "sim/SampleAgents.h"

namespace Oru::Sim {

namespace {

using Mount::Backend;
using Mount::TreePath;
using nlohmann::json;

class ChipAgent final : public SampleAgent {
 public:
  explicit ChipAgent(AgentOptions options) : SampleAgent(std::move(options)) {
    watch({"config"});
    watch({"hw", "config"});
  }

 private:
  struct Config {
    std::string slice;
    bool enabled = false;
    json genTime = 0;  // as it was read, digit by digit
  };

  void look() override {
    auto const config = findConfig();
    if (!config || !config->enabled || config->genTime == 0) return notReady();
    watch({"status", config->slice});
    if (readyFor(config->slice + ' ' + config->genTime.dump())) report(*config);
  }

  // That of the slice in which the chip was configured last: a chip may have been in another one
  // before.
  std::optional<Config> findConfig() {
    std::optional<Config> latest;
    for (auto const& member : tree().list({"config"}).members) {
      if (member.kind != Backend::Kind::directory) continue;
      auto const text = read({"config", member.name, name()});
      if (!text || !text->contains("genTime") || !text->contains("enabled")) continue;
      if (latest && latest->genTime >= (*text)["genTime"]) continue;
      latest = Config{member.name, (*text)["enabled"] == true, (*text)["genTime"]};
    }
    return latest;
  }

  void report(Config const& config) {
    TreePath const file{"status", config.slice, name()};
    json const status{{"genTime", generationToReport(config, file)},
                      {"intfToPortId", interfaces(config.slice)}};
    if (read(file) == status) return;
    StatusFolder const folder(tree().tree(), config.slice);
    if (!folder.exists()) return;  // made when the board is there; this is watched
    auto const error = folder.replace(name(), status.dump() + '\n');
    triedTo("report", error);
    if (!error) log("runs generation " + status["genTime"].dump());
  }

  json generationToReport(Config const& config, TreePath const& file) {
    if (behaviour().mode != AgentBehaviour::Mode::stale) return config.genTime;
    auto const before = read(file);
    bool const older =
        before && before->contains("genTime") && (*before)["genTime"] != config.genTime;
    return older ? (*before)["genTime"] : json(0);
  }

  json interfaces(std::string const& slice) {
    json result = json::object();
    auto const board = read({"hw", "config", slice});
    json::json_pointer const ports = json::json_pointer() / "chips" / name() / "ports";
    if (!board || !board->contains(ports)) return result;
    for (auto const& [port, interface] : board->at(ports).items()) {
      if (!interface.is_string() || interface == "") continue;
      result[interface.get<std::string>()] = json::parse(port, nullptr, false);
    }
    return result;
  }
};

}  // namespace

std::unique_ptr<SampleAgent> makeChipAgent(AgentOptions options) {
  return std::make_unique<ChipAgent>(std::move(options));
}

}  // namespace Oru::Sim
