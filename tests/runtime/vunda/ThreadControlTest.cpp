// Nodes and strings shared between threads, in thread-safe mode. Run under the thread sanitizer.

#include "runtime/vunda/ThreadControl.h"

#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <cstddef>
#include <thread>
#include <vector>

#include "runtime/kesh/AllocTrackTypeInfo.h"
#include "runtime/kesh/Dir.h"
#include "runtime/vunda/Ptr.h"
#include "runtime/vunda/String.h"
#include "tests/runtime/vunda/SampleNodes.h"
#include "tests/support/ThreadSafeMode.h"

namespace {

using OruTest::Sample;
using Vunda::makeNode;
using Vunda::Ptr;
using Vunda::String;

constexpr int threadCount = 4;
constexpr int rounds = 20000;

// Runs an action in several threads that start together, and waits for them.
template <class Action>
void inThreads(Action const& action) {
  std::barrier start(threadCount);
  std::vector<std::thread> threads;
  for (int i = 0; i < threadCount; ++i) {
    threads.emplace_back([&start, &action, i] {
      start.arrive_and_wait();
      action(i);
    });
  }
  for (auto& thread : threads) thread.join();
}

class ThreadControl : public testing::Test {
 private:
  OruTest::ThreadSafeMode const mode_;
};

TEST(ThreadControlMode, IsOffUnlessSwitchedOn) {
  EXPECT_FALSE(Vunda::ThreadControl::threadSafe());
  OruTest::ThreadSafeMode const on;
  EXPECT_TRUE(Vunda::ThreadControl::threadSafe());
}

TEST_F(ThreadControl, CountsOfASharedNodeAreExact) {
  auto const node = makeNode<Sample>();
  inThreads([&node](int) {
    std::vector<Ptr<Sample>> held;
    for (int i = 0; i < rounds; ++i) {
      held.push_back(node);
      if (held.size() == 7) held.clear();
    }
  });
  EXPECT_EQ(node->useCount(), 1U);
}

TEST_F(ThreadControl, FlagsSetMeanwhileDisturbNoCount) {
  auto const node = makeNode<Sample>();
  inThreads([&node](int thread) {
    for (int i = 0; i < rounds; ++i) {
      if (thread == 0) {
        node->nodeFlagSet(Vunda::Node::zombieReactorsFlag, i % 2 == 0);
      } else {
        Ptr<Sample> const copy = node;
      }
    }
  });
  EXPECT_EQ(node->useCount(), 1U);
  EXPECT_FALSE(node->nodeFlag(Vunda::Node::zombieReactorsFlag));
}

TEST_F(ThreadControl, TheLastThreadToReleaseANodeDestroysItOnce) {
  std::atomic<int> ends{0};
  struct Counted : Vunda::Node {
    explicit Counted(std::atomic<int>& counter) : ends(counter) {}
    ~Counted() override { ends.fetch_add(1 + (written == threadCount ? 0 : 100)); }
    std::atomic<int> written = 0;
    std::atomic<int>& ends;
  };
  constexpr int nodes = 500;
  std::vector<std::vector<Ptr<Counted>>> held(threadCount);
  for (int i = 0; i < nodes; ++i) {
    auto const node = makeNode<Counted>(ends);
    for (auto& mine : held) mine.push_back(node);
  }
  inThreads([&held](int thread) {
    for (auto& node : held[static_cast<std::size_t>(thread)]) {
      node->written.fetch_add(1, std::memory_order_relaxed);
      node = nullptr;
    }
  });
  EXPECT_EQ(ends, nodes);
}

TEST_F(ThreadControl, WhatAThreadWroteIsSeenByTheDestructor) {
  struct Written : Vunda::Node {
    explicit Written(long& sum) : total(sum) {}
    ~Written() override {
      for (int const value : values) total += value;
    }
    int values[threadCount] = {};
    long& total;
  };
  long total = 0;
  for (int i = 0; i < 50; ++i) {
    std::vector<Ptr<Written>> held(threadCount, makeNode<Written>(total));
    inThreads([&held](int thread) {
      auto const at = static_cast<std::size_t>(thread);
      held[at]->values[at] = 1;
      held[at] = nullptr;
    });
  }
  EXPECT_EQ(total, 50 * threadCount);
}

TEST_F(ThreadControl, StringsMayBeSharedAndCopied) {
  String const shared("shared between threads");
  inThreads([&shared](int) {
    for (int i = 0; i < rounds; ++i) {
      String copy = shared;
      String const second = copy;
      copy = String("own");
      ASSERT_EQ(second, shared);
    }
  });
  EXPECT_STREQ(shared.data(), "shared between threads");
}

TEST_F(ThreadControl, LiveCountsOfATypeAreExact) {
  auto const before = Sample::typeInfo().liveCount();
  auto const bytesBefore = Sample::typeInfo().liveBytes();
  std::vector<std::vector<Ptr<Sample>>> held(threadCount);
  inThreads([&held](int thread) {
    auto& mine = held[static_cast<std::size_t>(thread)];
    for (int i = 0; i < rounds / 10; ++i) {
      mine.push_back(makeNode<Sample>());
      if (i % 2 == 0) mine.pop_back();
    }
  });
  EXPECT_EQ(Sample::typeInfo().liveCount() - before, threadCount * rounds / 20U);
  EXPECT_EQ(Sample::typeInfo().liveBytes() - bytesBefore,
            threadCount * rounds / 20U * sizeof(Sample));
}

template <int N>
struct Numbered : Kesh::Typed<Numbered<N>, Vunda::Node> {
  static constexpr char const* typeName = "OruTest::Numbered";
};

TEST_F(ThreadControl, TypesThatAreFirstUsedAtTheSameTimeAreAllListed) {
  inThreads([](int thread) {
    switch (thread) {
      case 0:
        makeNode<Numbered<0>>();
        break;
      case 1:
        makeNode<Numbered<1>>();
        break;
      case 2:
        makeNode<Numbered<2>>();
        break;
      default:
        makeNode<Numbered<2>>();
        break;
    }
  });
  int listed = 0;
  for (auto const* type = Kesh::AllocTrackTypeInfo::first(); type; type = type->next()) {
    listed += type == &Numbered<0>::typeInfo() || type == &Numbered<1>::typeInfo() ||
              type == &Numbered<2>::typeInfo();
  }
  EXPECT_EQ(listed, 3);
}

TEST_F(ThreadControl, EachThreadDestroysItsOwnDirectoryTrees) {
  inThreads([](int) {
    for (int round = 0; round < 20; ++round) {
      auto const root = makeNode<Kesh::Dir>("root");
      Ptr<Kesh::Dir> at = root;
      for (int depth = 0; depth < 50; ++depth) {
        auto const inner = makeNode<Kesh::Dir>("inner");
        at->entityIs(inner);
        at = inner;
      }
    }
  });
  EXPECT_EQ(Kesh::Dir::typeInfo().liveCount(), 0U);
}

}  // namespace
