#include "launcher/AgentMark.h"

#include <gtest/gtest.h>

namespace Oru::Launcher {
namespace {

AgentMark const mark{"/run/tree", {AgentKind::chip, "Chip 1=x"}, 7};

std::string textOf(std::map<std::string, std::string> const& environment) {
  std::string text;
  for (auto const& [name, value] : environment) text += name + '=' + value + '\0';
  return text;
}

std::map<std::string, std::string> marked() {
  std::map<std::string, std::string> environment{{"HOME", "/"}, {"ORU_TREES", "no"}};
  mark.addTo(environment);
  return environment;
}

TEST(AgentMark, IsReadBackFromTheEnvironment) {
  EXPECT_EQ(AgentMark::parse(textOf(marked())), mark);
}

TEST(AgentMark, IsReadBackWhenTheLastTextIsNotEnded) {
  auto text = textOf(marked());
  text.pop_back();
  EXPECT_EQ(AgentMark::parse(text), (AgentMark{"/run/tree", mark.id, 7}));
}

TEST(AgentMark, AnIncompleteMarkIsNone) {
  EXPECT_FALSE(AgentMark::parse(""));
  for (auto const& [name, value] : marked()) {
    if (!name.starts_with("ORU_") || name == "ORU_TREES") continue;
    auto environment = marked();
    environment.erase(name);
    EXPECT_FALSE(AgentMark::parse(textOf(environment))) << name;
  }
}

TEST(AgentMark, AnUnknownKindOrNoNumberIsNone) {
  auto environment = marked();
  environment["ORU_AGENT_KIND"] = "port";
  EXPECT_FALSE(AgentMark::parse(textOf(environment)));
  environment = marked();
  environment["ORU_AGENT_START"] = "7x";
  EXPECT_FALSE(AgentMark::parse(textOf(environment)));
}

}  // namespace
}  // namespace Oru::Launcher
