#include <cmath>

#include "tests/tools/ToolFixture.h"

namespace {

class InsertTest : public OruTest::ToolFixture {
 protected:
  std::string writeFile(std::string const& name, std::string const& text) const {
    std::ofstream(folder / name) << text;
    return folder / name;
  }
  static std::string board(char const* chip, int id) {
    return Json{{"chips", {{chip, {{"deviceId", id}, {"ports", {{"1", "Eth1"}}}}}}}}.dump();
  }
};

TEST_F(InsertTest, ABoardIsNamedByItsFileAndGetsANewGeneration) {
  auto const file = writeFile("Slice%201.json", board("Chip1", 3));
  double const before = std::floor(static_cast<double>(::time(nullptr)));
  EXPECT_EQ(0, run({"insert", file}));
  EXPECT_EQ("slice Slice 1 is inserted, with 1 chip\n", out);
  auto inserted = json({"hw", "config", "Slice 1"});
  EXPECT_GE(inserted.at("genTime"), before);
  inserted.erase("genTime");
  EXPECT_EQ(Json::parse(board("Chip1", 3)), inserted);
}

TEST_F(InsertTest, ABoardThatReplacesAnotherIsNewerThanItWhateverTheClockSays) {
  put({"hw", "config", "Slice1"}, {{"genTime", 9e9}, {"chips", Json::object()}});
  auto const file = writeFile("any", R"({"genTime": 5, "chips": {}})");
  EXPECT_EQ(0, run({"insert", file, "--as", "Slice1"}));
  EXPECT_EQ("slice Slice1 is inserted, with 0 chips\n", out);
  EXPECT_EQ(std::nextafter(9e9, 1e300), json({"hw", "config", "Slice1"}).at("genTime"));
}

TEST_F(InsertTest, AWrongFileIsRefusedWithPlaceAndReason) {
  auto const refused = [&](std::string const& text, std::string const& reason) {
    auto const file = writeFile("Slice1.json", text);
    EXPECT_EQ(2, run({"insert", file}));
    EXPECT_EQ("oructl: " + file + ": " + reason + '\n', err);
    EXPECT_FALSE(stands({"hw", "config", "Slice1"}));
  };
  refused("", "is empty");
  refused("{\"chips\": ", "is not JSON: line 1, column 11");
  refused("[]", "is not an object");
  refused("{}", "chips is missing");
  refused(board("Chip1", 65), "chips.Chip1.deviceId is not a whole number from 0 to 64");
  refused(R"({"chips": {}, "colour": 1})", "colour is not a field of this file");
  refused(std::string(Oru::Mount::FileTree::sizeLimit + 1, ' '), "is larger than 1 MiB");
}

TEST_F(InsertTest, ChipsAndDevicesThatAnotherSliceHasAreRefused) {
  putBoard("Slice1", "Chip1", 3);
  EXPECT_EQ(2, run({"insert", writeFile("Slice2.json", board("Chip1", 4))}));
  EXPECT_EQ("oructl: chip \"Chip1\" is in slice \"Slice1\" already; names of chips are unique\n",
            err);
  EXPECT_EQ(2, run({"insert", writeFile("Slice2.json", board("Chip2", 3))}));
  EXPECT_EQ("oructl: chip \"Chip2\" has device number 3, as chip \"Chip1\" of slice \"Slice1\"\n",
            err);
  EXPECT_EQ(0, run({"insert", writeFile("Slice1.json", board("Chip1", 3))}));
  EXPECT_EQ(0, run({"insert", writeFile("Slice2.json", board("Chip2", 4))}));
}

TEST_F(InsertTest, TwoChipsOfABoardWithOneDeviceNumberAreRefused) {
  auto const file = writeFile("Slice1.json", R"({"chips": {"Chip1": {"deviceId": 3, "ports": {}},
      "Chip2": {"deviceId": 3, "ports": {}}}})");
  EXPECT_EQ(2, run({"insert", file}));
  EXPECT_EQ("oructl: chips \"Chip1\" and \"Chip2\" both have device number 3\n", err);
  EXPECT_FALSE(stands({"hw", "config", "Slice1"}));
}

TEST_F(InsertTest, AFileThatIsNotThereOrTellsNoNameIsTold) {
  EXPECT_EQ(3, run({"insert", folder / "none.json"}));
  EXPECT_EQ("oructl: cannot read " + (folder / "none.json") + ": No such file or directory\n", err);
  EXPECT_EQ(3, run({"insert", folder.path()}));
  EXPECT_EQ("oructl: cannot read " + folder.path().string() + ": Is a directory\n", err);
  EXPECT_EQ(3, run({"insert", folder / "none"}));
  EXPECT_EQ(2, run({"insert", writeFile("board", board("Chip1", 3))}));
  EXPECT_EQ("oructl: " + (folder / "board") +
                ": its name is none of a slice's file; give the slice's name with --as NAME\n",
            err);
}

TEST_F(InsertTest, ASliceIsRemovedByItsName) {
  putBoard("Slice1", "Chip1", 3);
  EXPECT_EQ(2, run({"remove", "Slice2"}));
  EXPECT_EQ("oructl: slice \"Slice2\" is not inserted; did you mean \"Slice1\"?\n", err);
  EXPECT_EQ(0, run({"remove", "Slice1"}));
  EXPECT_EQ("slice Slice1 is removed\n", out);
  EXPECT_FALSE(stands({"hw", "config", "Slice1"}));
  EXPECT_EQ(2, run({"remove", "Slice1"}));
  EXPECT_EQ("oructl: slice \"Slice1\" is not inserted\n", err);
}

TEST_F(InsertTest, ASliceWithABadFileCanBeRemoved) {
  putText({"hw", "config", "Slice1"}, "x");
  EXPECT_EQ(0, run({"remove", "Slice1"}));
  EXPECT_FALSE(stands({"hw", "config", "Slice1"}));
}

}  // namespace
