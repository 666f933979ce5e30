#include <sys/stat.h>

#include "tests/tools/ToolFixture.h"

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

// Trees that somebody wrote badly, or on purpose.
class HostileTreeTest : public OruTest::ToolFixture {};

TEST_F(HostileTreeTest, ABadFileIsToldAndTheOthersAreShown) {
  putUp("Slice1", "Chip1", 0, 200.25);
  putText({"features", "A"}, "{\"enabled\": ");
  put({"features", "B"}, {{"enabled", true}});
  EXPECT_EQ(0, run({"show", "features"}));
  EXPECT_EQ("FEATURE  SWITCHED  AGENT\nB        on        none\n", out);
  EXPECT_EQ("oructl: cannot read features/A.json: is not JSON: line 1, column 13\n", err);
  auto const json = document({"show", "features", "--json"});
  EXPECT_EQ(1u, json["features"].size());
  EXPECT_EQ("features/A.json", json["unreadable"][0]["file"]);
}

TEST_F(HostileTreeTest, ASliceWithABadFileIsNeitherUpNorGone) {
  putUp("Slice1", "Chip1", 0, 200.25);
  putText({"hw", "config", "Slice1"}, "{}");
  EXPECT_EQ("unreadable", document({"show", "slices", "--json"})["slices"][0]["state"]);
  EXPECT_EQ("up", document({"show", "chips", "--json"})["chips"][0]["state"]);
}

TEST_F(HostileTreeTest, WhatIsNoFileIsRefusedAndNotOpened) {
  fs::create_directories(root + "/features");
  fs::create_symlink("/etc/passwd", root + "/features/Link.json");
  fs::create_directory(root + "/features/Folder");
  ASSERT_EQ(0, ::mkfifo((root + "/features/Pipe.json").c_str(), 0600));
  std::ofstream(root + "/features/readme.txt") << "x";
  std::ofstream(root + "/features/Big.json")
      << std::string(Oru::Mount::FileTree::sizeLimit + 1, ' ');
  std::ofstream(root + "/features/%zz.json") << "{\"enabled\":true}";
  std::ofstream(root + "/config") << "x";
  EXPECT_EQ(1, run({"show", "problems"}));
  EXPECT_EQ(
      "SINCE  TOLD BY  PROBLEM\n"
      "-      oructl   cannot read config: is not a directory\n"
      "-      oructl   cannot read features/%zz.json: is not the encoding of a name\n"
      "-      oructl   cannot read features/readme.txt: is not a .json file\n"
      "-      oructl   cannot read features/Folder: is a directory where a file belongs\n"
      "-      oructl   cannot read features/Big.json: is larger than 1048576 bytes\n"
      "-      oructl   cannot read features/Link.json: is a symbolic link\n"
      "-      oructl   cannot read features/Pipe.json: is a pipe\n",
      out);
}

TEST_F(HostileTreeTest, ControlCharactersInNamesAndTextsReachNoTerminal) {
  std::string const name = "F\033]0;owned\007\n\u202E\xC2\x9B";
  put({"features", name}, {{"enabled", true}});
  put({"reset", "request", "who\033[2J", "allSlices"},
      {{"type", "allSlices"}, {"cause", "\033[31mred"}, {"reason", 1}, {"genTime", 5.0}});
  putText({"features", "bad\033[2J"}, "");
  putBoard("S\033[2J", "C\r", 0);
  std::vector<std::vector<std::string>> const commands{{"show"},
                                                       {"show", "slices"},
                                                       {"show", "chips"},
                                                       {"show", "resets"},
                                                       {"show", "features"},
                                                       {"show", "problems"},
                                                       {"show", "agents"},
                                                       {"show", "resets", "--json"},
                                                       {"show", "features", "--json"},
                                                       {"top"},
                                                       {"reset", "chip", "x\033[2J"},
                                                       {"remove", "\033[2J"}};
  for (auto const& command : commands) {
    run(command);
    for (std::string const& text : {out, err})
      for (char const c : text)
        EXPECT_FALSE((static_cast<unsigned char>(c) < 0x20 && c != '\n') || c == 0x7F)
            << command[0] << ": " << text;
    EXPECT_EQ(std::string::npos, out.find("\u202E"));
    EXPECT_EQ(std::string::npos, out.find("\xC2\x9B"));
  }
  run({"show", "features"});
  EXPECT_NE(std::string::npos, out.find("F\\x1B]0;owned\\x07\\x0A\\u202E\\u009B"));
  EXPECT_EQ(name, document({"show", "features", "--json"})["features"][0]["name"]);
}

TEST_F(HostileTreeTest, JsonIsAsciiWhateverTheNames) {
  put({"features", "Zürich\x7F"}, {{"enabled", true}});
  run({"show", "features", "--json"});
  for (char const c : out) EXPECT_TRUE(c == '\n' || (c >= 0x20 && c < 0x7F));
  EXPECT_EQ("Zürich\x7F", Json::parse(out)["features"][0]["name"]);
}

}  // namespace
