#include "sim/SampleAgents.h"

namespace Oru::Sim {

namespace {

using Mount::TreePath;
using nlohmann::json;

class SliceAgent final : public SampleAgent {
 public:
  explicit SliceAgent(AgentOptions options)
      : SampleAgent(std::move(options)),
        hwConfig_{"hw", "config", name()},
        hwStatus_{"hw", "status", name()},
        status_(tree().tree(), name()) {
    watch({"hw"});
  }

 private:
  void look() override {
    if (!boardIsThere() || behaviour().mode == AgentBehaviour::Mode::leave) {
      notReady();
      withdraw();
    } else if (auto const board = read(hwConfig_); board && readyFor("board")) {
      announce(*board);
    }
  }

  void stop() override {
    if (!boardIsThere()) withdraw();
  }

  bool boardIsThere() {
    return tree().read(hwStatus_).state != Mount::Backend::Reading::State::absent;
  }

  void announce(json const& board) {
    if (!status_.exists()) log("the board is there");
    std::error_code error = status_.make();
    auto const chips = board.find("chips");
    if (chips == board.end() || !chips->is_object()) return;
    for (auto const& [chip, description] : chips->items()) {
      if (!error) error = status_.putFirst(chip, R"({"genTime": 0, "intfToPortId": {}})");
    }
    triedTo("write its status", error);
  }

  void withdraw() {
    if (!status_.exists()) return;
    log("the board is gone");
    triedTo("remove its status", status_.remove());
  }

  TreePath const hwConfig_;
  TreePath const hwStatus_;
  StatusFolder const status_;
};

}  // namespace

std::unique_ptr<SampleAgent> makeSliceAgent(AgentOptions options) {
  return std::make_unique<SliceAgent>(std::move(options));
}

}  // namespace Oru::Sim
