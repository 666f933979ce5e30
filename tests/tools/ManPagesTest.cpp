#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "tests/agent/ProgramRun.h"

namespace {

std::string textOfFile(std::string const& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::set<std::string> longOptions(std::string const& text) {
  static std::regex const option("--[a-z][a-z-]*");
  return {std::sregex_token_iterator(text.begin(), text.end(), option), {}};
}

std::string helpOf(std::vector<std::string> command) {
  command.push_back("--help");
  OruTest::ProgramRun program(command);
  EXPECT_EQ(0, program.wait());
  return program.output();
}

// A program, its subcommands, and its man page's source.
struct Page {
  char const* program;
  std::vector<std::string> commands;
  char const* page;
};

class ManPagesTest : public testing::TestWithParam<Page> {};

TEST_P(ManPagesTest, KnowsEveryOptionOfTheProgramAndNoOther) {
  auto const& [program, commands, page] = GetParam();
  std::string help = helpOf({program});
  for (auto const& command : commands) help += helpOf({program, command});
  auto const text = textOfFile(std::string(ORU_MAN_SOURCES) + '/' + page);
  auto expected = longOptions(help);
  EXPECT_GE(expected.size(), 3u);
  auto described = longOptions(text);
  for (auto const& option : expected) EXPECT_TRUE(described.contains(option)) << option;
  for (auto const& option : described) EXPECT_TRUE(expected.contains(option)) << option;
}

TEST_P(ManPagesTest, HasTheSectionsThatReadersLookFor) {
  auto const text = textOfFile(std::string(ORU_MAN_SOURCES) + '/' + GetParam().page);
  for (auto const* section :
       {"# NAME", "# SYNOPSIS", "# DESCRIPTION", "# EXIT STATUS", "# SEE ALSO"})
    EXPECT_NE(std::string::npos, text.find(std::string("\n") + section + '\n')) << section;
}

INSTANTIATE_TEST_SUITE_P(
    Programs, ManPagesTest,
    testing::Values(Page{ORUCTL,
                         {"show", "reset", "feature", "insert", "remove", "watch", "top", "trace"},
                         "oructl.1.md"},
                    Page{ORU_AGENT, {}, "oru-agent.8.md"},
                    Page{ORU_LAUNCHER, {}, "oru-launcher.8.md"},
                    Page{ORU_SIM, {"run", "check", "slice", "chip", "feature"}, "oru-sim.1.md"}),
    [](auto const& instance) {
      std::string name = instance.param.page;
      name.erase(name.find('.'));
      std::erase(name, '-');
      return name;
    });

}  // namespace
