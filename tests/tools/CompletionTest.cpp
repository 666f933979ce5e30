#include "tools/Completion.h"

#include "tests/agent/ProgramRun.h"
#include "tests/tools/ToolFixture.h"

namespace {

using Words = std::vector<std::string>;

class CompletionTest : public OruTest::ToolFixture {
 protected:
  CompletionTest() {
    putBoard("Slice1", "Chip1", 0);
    putBoard("Line Card", "Chip2", 1);
    put({"features", "Telemetry"}, {{"enabled", true}});
    ::setenv("ORU_TREE", root.c_str(), 1);
  }

  // What completes the last of the words.
  Words candidates(Words words) {
    words.insert(words.begin(), Oru::Tools::completionCommand);
    EXPECT_EQ(0, runPlain(words));
    return linesOf(out);
  }
  static Words linesOf(std::string const& text) {
    Words found;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) found.push_back(line);
    return found;
  }
  // What the shell offers after these words.
  Words offers(std::string const& line) {
    std::string const script = folder / "offers.bash";
    std::ofstream(script) << "source " << ORU_COMPLETION << "\nCOMP_WORDS=(" << ORUCTL << ' '
                          << line << ")\nCOMP_CWORD=$((${#COMP_WORDS[@]} - 1))\n_oructl\n"
                          << "printf '%s\\n' \"${COMPREPLY[@]}\"\n";
    OruTest::ProgramRun shell({"/bin/bash", "--norc", script});
    EXPECT_EQ(0, shell.wait()) << shell.errors();
    return linesOf(shell.output());
  }
};

TEST_F(CompletionTest, CommandsAndSectionsAreOffered) {
  EXPECT_EQ((Words{"show", "reset", "feature", "insert", "remove", "watch", "top", "trace"}),
            candidates({""}));
  EXPECT_EQ((Words{"reset", "remove"}), candidates({"re"}));
  EXPECT_EQ((Words{"slices"}), candidates({"show", "s"}));
  EXPECT_EQ((Words{"resets"}), candidates({"--tree", root, "show", "r"}));
  EXPECT_EQ(Words(), candidates({"show", "slices", ""}));
}

TEST_F(CompletionTest, OptionsAreThoseOfTheCommandAndOfTheProgram) {
  EXPECT_EQ((Words{"--help", "--json", "--version", "--tree"}), candidates({"show", "--"}));
  EXPECT_EQ((Words{"--wait"}), candidates({"reset", "all", "--w"}));
}

TEST_F(CompletionTest, NamesComeFromTheTree) {
  EXPECT_EQ((Words{"chip", "slice", "all", "features"}), candidates({"reset", ""}));
  EXPECT_EQ((Words{"Line Card", "Slice1"}), candidates({"reset", "slice", ""}));
  EXPECT_EQ((Words{"Chip2", "Chip1"}), candidates({"reset", "chip", "C"}));
  EXPECT_EQ((Words{"Chip2", "Chip1"}), candidates({"reset", "chip", "Chip1", "--wait", ""}));
  EXPECT_EQ(Words(), candidates({"reset", "all", ""}));
  EXPECT_EQ((Words{"Slice1"}), candidates({"remove", "S"}));
  EXPECT_EQ((Words{"on", "off"}), candidates({"feature", "o"}));
  EXPECT_EQ((Words{"Telemetry"}), candidates({"feature", "off", ""}));
  EXPECT_EQ((Words{"Slice1"}), candidates({"reset", "chip", "--slice", "Sl"}));
  EXPECT_EQ((Words{"hardwareFault"}), candidates({"reset", "all", "--reason", "h"}));
}

TEST_F(CompletionTest, FilesAreTheShellsOwnBusiness) {
  EXPECT_EQ((Words{":file"}), candidates({"insert", "x"}));
  EXPECT_EQ((Words{":file"}), candidates({"trace", "--chrome", ""}));
  EXPECT_EQ((Words{":directory"}), candidates({"--tree", ""}));
}

TEST_F(CompletionTest, WithoutATreeThereAreNoNames) {
  EXPECT_EQ(Words(), candidates({"--tree", folder / "none", "remove", ""}));
}

TEST_F(CompletionTest, NamesThatATerminalActsOnAreNotOffered) {
  put({"features", "F\nG"}, {{"enabled", true}});
  EXPECT_EQ((Words{"Telemetry"}), candidates({"feature", "off", ""}));
}

TEST_F(CompletionTest, TheShellOffersThemQuoted) {
  EXPECT_EQ((Words{"slices"}), offers("show sl"));
  EXPECT_EQ((Words{"Line\\ Card"}), offers("remove L"));
  std::ofstream(folder / "board.json") << "{}";
  EXPECT_EQ((Words{folder / "board.json"}), offers("insert " + (folder / "bo")));
  EXPECT_EQ((Words{root}), offers("--tree " + (folder / "tr")));
}

}  // namespace
