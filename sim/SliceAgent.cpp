#include "sim/SampleAgents.h"

namespace Oru::Sim {

namespace {

using Mount::TreePath;
using nlohmann::json;

constexpr double patience = 0.2;  // seconds

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
    if (behaviour().mode == AgentBehaviour::Mode::leave || boardIsGone()) {
      notReady();
      withdraw();
    } else if (isThere(hwStatus_)) {
      if (auto const board = read(hwConfig_); board && readyFor("board")) announce(*board);
    }
  }

  void stop() override {
    if (!isThere(hwStatus_) && !isThere(hwConfig_)) withdraw();
  }

  // A description without hardware status is that of the next board, which waits for this one to
  // leave; or somebody has removed the status, which is put right at once.
  bool boardIsGone() {
    if (isThere(hwStatus_)) return false;
    return !isThere(hwConfig_) || readyFor("the next board", patience);
  }

  bool isThere(TreePath const& value) {
    return tree().read(value).state != Mount::Backend::Reading::State::absent;
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
