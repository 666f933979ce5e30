#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "mount/StateMount.h"
#include "runtime/kesh/System.h"
#include "tests/mount/LoopTurns.h"
#include "tests/mount/MemoryBackend.h"

namespace Oru::Mount {

inline constexpr char const* oneChip =
    R"({"genTime":5,"chips":{"C1":{"deviceId":1,"ports":{"1":"E1"}}}})";

// The state mounted from a tree in memory. The clock stands at 100 s.
class StateMountFixture : public testing::Test {
 protected:
  void SetUp() override {
    Kesh::System::clockIs([] { return Vunda::Duration(100.0); });
  }
  void TearDown() override {
    mount.reset();
    Kesh::System::clockIs(nullptr);
  }

  void start() {
    mount.emplace(loop, backend, problems, queue);
    mount->read();
    mount->follow();
    OruTest::settle(loop);
  }
  // What a program elsewhere writes, and everything that follows from it.
  void others(TreePath const& value, std::string const& text) {
    backend.othersPut(value, text);
    OruTest::settle(loop);
  }
  void othersRemove(TreePath const& value) {
    backend.othersRemove(value);
    OruTest::settle(loop);
  }
  std::vector<std::string> problemTexts() const {
    std::vector<std::string> texts;
    for (auto const& problem : problems.problems()) texts.push_back(textOf(problem));
    return texts;
  }
  std::string text(TreePath const& value) const {
    auto const* const found = backend.text(value);
    return found ? *found : "absent";
  }

  Vunda::Ptr<Central::SliceHwConfig> hwConfig(char const* slice) const {
    return Vunda::ptrCast<Central::SliceHwConfig>(mount->hwConfigDir()->entityPtr(slice));
  }
  Vunda::Ptr<Kesh::Dir> sliceDir(Vunda::Ptr<Kesh::Dir> const& dir, char const* slice) const {
    return Vunda::ptrCast<Kesh::Dir>(dir->entityPtr(slice));
  }
  Vunda::Ptr<Central::ChipStatus> status(char const* slice, char const* chip) const {
    auto const dir = sliceDir(mount->statusDir(), slice);
    return dir ? Vunda::ptrCast<Central::ChipStatus>(dir->entityPtr(chip))
               : Vunda::Ptr<Central::ChipStatus>();
  }
  // As the state machines do.
  Vunda::Ptr<Central::ChipConfig> makeConfig(char const* slice, char const* chip) {
    auto const dir =
        Vunda::ptrCast<Kesh::Dir>(mount->configDir()->createEntity(Kesh::Dir::typeName, slice));
    return Vunda::ptrCast<Central::ChipConfig>(
        dir->createEntity(Central::ChipConfig::typeName, chip));
  }

  EventLoop loop;
  OruTest::MemoryBackend backend{loop};
  ProblemList problems;
  WriteQueue queue{loop, backend, problems, &StateMount::writeRank};
  std::optional<StateMount> mount;
};

}  // namespace Oru::Mount
