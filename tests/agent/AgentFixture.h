#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <limits>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "mount/EventLoop.h"
#include "mount/FileBackend.h"
#include "mount/FileTree.h"
#include "mount/ResetKeyName.h"
#include "tests/agent/ProgramRun.h"
#include "tests/mount/LoopTurns.h"
#include "tests/mount/NotifySocket.h"
#include "tests/support/TemporaryFolder.h"

namespace OruTest {

using Oru::Mount::TreePath;

// oru-agent as a real process on a tree of its own; the test plays platform, agents and requesters,
// and waits for what appears in the tree.
class AgentFixture : public testing::Test, Oru::Mount::Backend::Observer {
 protected:
  using Json = nlohmann::json;

  AgentFixture() {
    EXPECT_FALSE(tree.makeRoot());
    watchTree();
  }

  // Anew when a file system was mounted at the tree's place, of which no watch tells.
  void watchTree() {
    watch_.reset();
    watch_ = backend_.watch({}, *this);
  }

  void startAgent(std::vector<std::string> const& more = {}) {
    std::vector<std::string> command{ORU_AGENT, "--tree", root};
    command.insert(command.end(), more.begin(), more.end());
    agent.emplace(command);
    EXPECT_TRUE(serviceManager.awaits("READY=1")) << agent->errors();
  }
  void killAgent() {
    agent->signal(SIGKILL);
    EXPECT_EQ(-SIGKILL, agent->wait());
  }
  int stopAgent() {
    agent->signal(SIGTERM);
    return agent->wait();
  }

  // Turns the loop, so that the tree's changes come in, until the condition holds.
  template <class Condition>
  bool awaits(Condition condition) {
    return turnUntil(loop_, condition);
  }
  // Whether nothing happens in the tree for so long.
  bool staysQuietFor(std::chrono::microseconds time) {
    settle(loop_);
    return !loop_.turn(time);
  }
  bool stands(TreePath const& value) const {
    return tree.read(value).state == Oru::Mount::Backend::Reading::State::present;
  }
  bool awaitsFile(TreePath const& value) {
    return awaits([&] { return stands(value); });
  }
  bool awaitsNoFile(TreePath const& value) {
    return awaits([&] { return !stands(value); });
  }

  // Null when the file is not there.
  Json json(TreePath const& value) const {
    std::string const text = tree.read(value).text;
    return text.empty() ? Json() : Json::parse(text);
  }
  // No number, which is equal to nothing, when the file is not there.
  double genTime(TreePath const& value) const {
    Json const file = json(value);
    return file.is_null() ? std::numeric_limits<double>::quiet_NaN()
                          : file.at("genTime").get<double>();
  }
  void put(TreePath const& value, Json const& content) const {
    EXPECT_FALSE(tree.put(value, content.dump()));
  }
  void putText(TreePath const& value, std::string const& text) const {
    EXPECT_FALSE(tree.put(value, text));
  }

  // The platform. Chips are given by device id and named after it ("C3"), with one port each.
  void insertSlice(std::string const& slice, double generation, std::set<int> const& chips) const {
    Json content{{"genTime", generation}, {"chips", Json::object()}};
    for (int const id : chips)
      content["chips"]["C" + std::to_string(id)] = {{"deviceId", id},
                                                    {"ports", {{"1", "Eth" + std::to_string(id)}}}};
    put({"hw", "config", slice}, content);
  }
  void pullSlice(std::string const& slice) const {
    EXPECT_FALSE(tree.remove({"hw", "config", slice}));
  }
  // The slice agent: makes the status of each chip.
  void reportSlice(std::string const& slice, std::set<int> const& chips) const {
    EXPECT_FALSE(tree.makeDirectory({"status", slice}));
    for (int const id : chips) report(slice, id, 0.0);
  }
  void withdrawSlice(std::string const& slice) const {
    EXPECT_FALSE(tree.removeDirectory({"status", slice}));
  }
  // The chip agent.
  void report(std::string const& slice, int id, double generation) const {
    put({"status", slice, "C" + std::to_string(id)},
        {{"genTime", generation}, {"intfToPortId", {{"Eth" + std::to_string(id), 1}}}});
  }
  double configured(std::string const& slice, int id) const {
    return genTime({"config", slice, "C" + std::to_string(id)});
  }
  bool awaitsPublished(int id) { return awaitsFile({"system", "chips", std::to_string(id)}); }
  bool awaitsWithdrawn(int id) { return awaitsNoFile({"system", "chips", std::to_string(id)}); }
  bool awaitsStarted(std::string const& slice, int id) {
    TreePath const config{"config", slice, "C" + std::to_string(id)};
    return awaits([&] { return genTime(config) > 0.0; });
  }
  // From the insertion to the published chips.
  void bringUp(std::string const& slice, double generation, std::set<int> const& chips) {
    insertSlice(slice, generation, chips);
    ASSERT_TRUE(awaitsFile({"launcher", "slice", slice}));
    reportSlice(slice, chips);
    for (int const id : chips) {
      ASSERT_TRUE(awaitsStarted(slice, id));
      report(slice, id, configured(slice, id));
      ASSERT_TRUE(awaitsPublished(id));
    }
  }
  void requestReset(std::string const& type, double generation, std::string const& slice = {},
                    std::string const& chip = {}) const {
    Json request{{"type", type}, {"cause", "test"}, {"reason", 1}, {"genTime", generation}};
    if (!slice.empty()) request["slice"] = slice;
    if (!chip.empty()) request["chip"] = chip;
    put({"reset", "request", "test", Oru::Mount::resetKeyName(type, slice, chip)}, request);
  }
  bool awaitsAnswer(double generation, std::string const& name) {
    TreePath const answer{"reset", "status", "test", name};
    return awaits([&] { return genTime(answer) == generation; });
  }

  // The problems that oru-agent has, as "file place reason".
  std::vector<std::string> problems() const {
    std::vector<std::string> found;
    Json const file = json({"problems", "oru-agent"});
    if (file.is_null()) return found;
    for (auto const& problem : file.at("problems"))
      found.push_back(problem.at("file").get<std::string>() + ' ' +
                      problem.at("place").get<std::string>() + ' ' +
                      problem.at("reason").get<std::string>());
    return found;
  }
  bool awaitsProblem(std::string const& text) {
    return awaits([&] {
      for (auto const& problem : problems())
        if (problem.find(text) != std::string::npos) return true;
      return false;
    });
  }
  bool awaitsNoProblem() {
    return awaits([&] { return problems().empty(); });
  }

  // All files of the tree but those that every start writes and those half written, with their texts.
  std::map<std::string, std::string> content() const {
    std::map<std::string, std::string> files;
    for (auto const& entry : std::filesystem::recursive_directory_iterator(root)) {
      auto const name = entry.path().lexically_relative(root).string();
      bool const isHidden = entry.path().filename().string().starts_with('.');
      if (isHidden || !entry.is_regular_file() || name.starts_with("problems")) continue;
      std::ifstream file(entry.path());
      files[name] = {std::istreambuf_iterator<char>(file), {}};
    }
    return files;
  }

  TemporaryFolder const folder;
  std::string const root = folder / "tree";
  Oru::Mount::FileTree const tree{root};
  NotifySocket const serviceManager;
  std::optional<ProgramRun> agent;

 private:
  void changed(std::vector<Oru::Mount::Backend::Change> const&) override {}

  Oru::Mount::EventLoop loop_;
  Oru::Mount::FileBackend backend_{loop_, root};
  std::unique_ptr<Oru::Mount::Backend::Watch> watch_;
};

}  // namespace OruTest
