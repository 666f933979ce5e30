#pragma once

#include <gtest/gtest.h>
#include <time.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "mount/FileTree.h"
#include "mount/ResetKeyName.h"
#include "tests/support/TemporaryFolder.h"
#include "tools/CommandLine.h"

namespace OruTest {

// A state tree in a temporary folder, and oructl working on it in this process. Times are UTC.
class ToolFixture : public testing::Test {
 protected:
  using Json = nlohmann::json;
  using TreePath = Oru::Mount::TreePath;

  ToolFixture() {
    ::setenv("TZ", "UTC", 1);
    ::tzset();
    ::unsetenv("ORU_TREE");
    ::unsetenv("ORU_RINGLOG");
    EXPECT_FALSE(tree.makeRoot());
  }

  // Runs oructl on the tree; its exit code. `out` and `err` have what it wrote.
  int run(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"--tree", root});
    return runPlain(arguments);
  }
  int runPlain(std::vector<std::string> const& arguments) {
    std::ostringstream outStream, errStream;
    int const code = Oru::Tools::runCommandLine(arguments, {outStream, errStream});
    out = outStream.str();
    err = errStream.str();
    return code;
  }
  Json document(std::vector<std::string> const& arguments) {
    run(arguments);
    return Json::parse(out);
  }

  void put(TreePath const& value, Json const& content) const { putText(value, content.dump()); }
  void putText(TreePath const& value, std::string const& text) const {
    ASSERT_FALSE(tree.put(value, text));
  }
  Json json(TreePath const& value) const { return Json::parse(tree.read(value).text); }
  bool stands(TreePath const& value) const {
    return tree.read(value).state == Oru::Mount::Backend::Reading::State::present;
  }
  std::string fileText(std::string const& path) const {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  // A board with one chip, which has one port; its files are as if it had come so far.
  void putBoard(std::string const& slice, std::string const& chip, int id) const {
    put({"hw", "config", slice},
        {{"genTime", 100.5},
         {"chips", {{chip, {{"deviceId", id}, {"ports", {{"1", "Eth" + std::to_string(id)}}}}}}}});
    put({"launcher", "slice", slice}, Json::object());
  }
  void putStarted(std::string const& slice, std::string const& chip, int id, double genTime) const {
    put({"hw", "status", slice}, {{"genTime", 100.5}});
    putConfig(slice, chip, id, genTime, true);
    putStatus(slice, chip, id, 0.0);
    put({"launcher", "chip", chip}, Json::object());
  }
  void putConfig(std::string const& slice, std::string const& chip, int id, double genTime,
                 bool enabled) const {
    put({"config", slice, chip},
        {{"deviceId", id}, {"enabled", enabled}, {"genTime", genTime}, {"syncGenTime", genTime}});
  }
  void putStatus(std::string const& slice, std::string const& chip, int id, double genTime) const {
    put({"status", slice, chip},
        {{"genTime", genTime}, {"intfToPortId", {{"Eth" + std::to_string(id), 1}}}});
  }
  void putPublished(std::string const& slice, std::string const& chip, int id,
                    double genTime) const {
    put({"system", "chips", std::to_string(id)}, {{"deviceId", id},
                                                  {"name", chip},
                                                  {"slice", slice},
                                                  {"genTime", genTime},
                                                  {"interfaces", {"Eth" + std::to_string(id)}}});
    put({"system", "interfaces", std::to_string(id)},
        {{"intfToPortId", {{"Eth" + std::to_string(id), 1}}}});
  }
  // All of it, to the published chip.
  void putUp(std::string const& slice, std::string const& chip, int id, double genTime) const {
    putBoard(slice, chip, id);
    putStarted(slice, chip, id, genTime);
    putStatus(slice, chip, id, genTime);
    putPublished(slice, chip, id, genTime);
  }
  static Json running(int pid) {
    return {{"state", "running"}, {"since", 200.0},
            {"pid", pid},         {"startTicks", 77},
            {"bootId", "boot"},   {"startTime", 200.0},
            {"starts", 1},        {"restarts", {{"wanted", 0}, {"crashes", 0}}}};
  }
  static Json crashed() {
    return {
        {"state", "backoff"},
        {"since", 300.0},
        {"startTime", 200.0},
        {"starts", 3},
        {"restarts", {{"wanted", 1}, {"crashes", 2}}},
        {"lastExit", {{"time", 300.0}, {"signal", 9}, {"reason", "killed by signal 9 (Killed)"}}},
        {"nextStart", 301.0}};
  }
  void putReset(char const* where, std::string const& who, std::string const& type, double genTime,
                std::string const& slice = {}, std::string const& chip = {}) const {
    Json request{{"type", type}, {"cause", "CRC errors"}, {"reason", 3}, {"genTime", genTime}};
    if (!slice.empty()) request["slice"] = slice;
    if (!chip.empty()) request["chip"] = chip;
    put({"reset", where, who, Oru::Mount::resetKeyName(type, slice, chip)}, request);
  }

  TemporaryFolder const folder;
  std::string const root = folder / "tree";
  Oru::Mount::FileTree const tree{root};
  std::string out, err;
};

}  // namespace OruTest
