#include "sim/SampleAgents.h"

namespace Oru::Sim {

namespace {

class FeatureAgent final : public SampleAgent {
 public:
  explicit FeatureAgent(AgentOptions options) : SampleAgent(std::move(options)) {
    watch({"features"});
  }

 private:
  void look() override {
    if (!readyFor("work")) return;
    auto const feature = read({"features", name()});
    if (!feature || !feature->contains("enabled")) return;
    bool const enabled = (*feature)["enabled"] == true;
    if (enabled_ != enabled) log(enabled ? "is on" : "is off");
    enabled_ = enabled;
  }

  std::optional<bool> enabled_;
};

}  // namespace

std::unique_ptr<SampleAgent> makeFeatureAgent(AgentOptions options) {
  return std::make_unique<FeatureAgent>(std::move(options));
}

}  // namespace Oru::Sim
