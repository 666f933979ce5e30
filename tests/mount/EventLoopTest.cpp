#include "mount/EventLoop.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/epoll.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "mount/UniqueFd.h"
#include "tests/mount/LoopTurns.h"
#include "tests/mount/NotifySocket.h"
#include "tests/support/Sanitized.h"

namespace {

using namespace Oru::Mount;
using namespace std::chrono_literals;
using OruTest::settle;

int pidfdOf(pid_t pid) { return static_cast<int>(::syscall(SYS_pidfd_open, pid, 0)); }

// A child that ends when the returned descriptor is closed, with that code.
UniqueFd childThatWaits(pid_t& pid, int code) {
  int ends[2];
  EXPECT_EQ(0, ::pipe2(ends, O_CLOEXEC));
  pid = ::fork();
  if (pid == 0) {
    ::close(ends[1]);
    char byte;
    static_cast<void>(::read(ends[0], &byte, 1));
    ::_exit(code);
  }
  ::close(ends[0]);
  return UniqueFd(ends[1]);
}

TEST(EventLoop, EndOfTurnRunsOnceAfterWhatIsReady) {
  EventLoop loop;
  std::vector<std::string> order;
  auto first = loop.endOfTurn([&] { order.push_back("first"); });
  auto second = loop.endOfTurn([&] { order.push_back("second"); });
  settle(loop);
  settle(loop);
  EXPECT_EQ((std::vector<std::string>{"first", "second"}), order);
}

TEST(EventLoop, TimersRunInTheOrderOfTheirTime) {
  EventLoop loop;
  std::vector<int> order;
  auto late = loop.timer(20ms, [&] { order.push_back(2); });
  auto early = loop.timer(1ms, [&] { order.push_back(1); });
  EXPECT_TRUE(OruTest::turnUntil(loop, [&] { return order.size() == 2; }));
  EXPECT_EQ((std::vector<int>{1, 2}), order);
}

TEST(EventLoop, ATimerThatWasResetDoesNotRun) {
  EventLoop loop;
  bool ran = false;
  auto timer = loop.timer(0ms, [&] { ran = true; });
  timer.reset();
  EXPECT_FALSE(timer);
  settle(loop);
  EXPECT_FALSE(ran);
}

TEST(EventLoop, TheFirstTimerNeedsNoDescriptor) {
  if (OruTest::isSanitized) GTEST_SKIP() << "the sanitizer needs descriptors itself";
  EventLoop loop;
  rlimit before{};
  ASSERT_EQ(0, ::getrlimit(RLIMIT_NOFILE, &before));
  rlimit const none{0, before.rlim_max};
  ASSERT_EQ(0, ::setrlimit(RLIMIT_NOFILE, &none));
  bool ran = false;
  EventSource timer;
  EXPECT_FALSE(UniqueFd(::open("/dev/null", O_RDONLY | O_CLOEXEC)));
  EXPECT_NO_THROW(timer = loop.timer(1ms, [&] { ran = true; }));
  EXPECT_TRUE(OruTest::turnUntil(loop, [&] { return ran; }));
  ::setrlimit(RLIMIT_NOFILE, &before);
}

TEST(EventLoop, ASourceMayBeResetAndReplacedByItsOwnCallback) {
  EventLoop loop;
  int runs = 0;
  EventSource source;
  std::function<void()> again = [&] {
    source.reset();
    if (++runs < 3) source = loop.endOfTurn(again);
  };
  source = loop.endOfTurn(again);
  settle(loop);
  EXPECT_EQ(3, runs);
}

TEST(EventLoop, IoReportsTheEvents) {
  EventLoop loop;
  int ends[2];
  ASSERT_EQ(0, ::pipe2(ends, O_CLOEXEC | O_NONBLOCK));
  UniqueFd const readEnd(ends[0]);
  UniqueFd const writeEnd(ends[1]);
  std::uint32_t seen = 0;
  auto source = loop.io(readEnd.get(), EPOLLIN, [&](std::uint32_t events) {
    seen = events;
    char byte;
    EXPECT_EQ(1, ::read(readEnd.get(), &byte, 1));
  });
  settle(loop);
  EXPECT_EQ(0u, seen);
  ASSERT_EQ(1, ::write(writeEnd.get(), "x", 1));
  settle(loop);
  EXPECT_EQ(static_cast<std::uint32_t>(EPOLLIN), seen);
}

TEST(EventLoop, ASignalIsReportedAndNotDelivered) {
  EventLoop loop;
  int seen = 0;
  auto source = loop.signal(
      SIGUSR1, [&](signalfd_siginfo const& info) { seen = static_cast<int>(info.ssi_signo); });
  ASSERT_EQ(0, ::kill(::getpid(), SIGUSR1));
  settle(loop);
  EXPECT_EQ(SIGUSR1, seen);
}

TEST(EventLoop, AChildsEndIsReportedWithItsCodeAndReaped) {
  EventLoop loop;
  pid_t pid = -1;
  UniqueFd alive = childThatWaits(pid, 7);
  UniqueFd const pidfd(pidfdOf(pid));
  int code = -1;
  auto source = loop.child(pidfd.get(), [&](siginfo_t const& info) { code = info.si_status; });
  settle(loop);
  EXPECT_EQ(-1, code);
  alive = UniqueFd();
  EXPECT_TRUE(OruTest::turnUntil(loop, [&] { return code != -1; }));
  EXPECT_EQ(7, code);
  EXPECT_EQ(-1, ::waitpid(pid, nullptr, WNOHANG));
  EXPECT_EQ(ECHILD, errno);
}

TEST(EventLoop, TheEndOfAnyProcessIsReportedOnceAndLeftToItsParent) {
  EventLoop loop;
  pid_t pid = -1;
  UniqueFd alive = childThatWaits(pid, 0);
  UniqueFd const pidfd(pidfdOf(pid));
  int ends = 0;
  auto source = loop.processEnd(pidfd.get(), [&] { ++ends; });
  alive = UniqueFd();
  EXPECT_TRUE(OruTest::turnUntil(loop, [&] { return ends > 0; }));
  settle(loop);
  EXPECT_EQ(1, ends);
  EXPECT_EQ(pid, ::waitpid(pid, nullptr, 0));
}

TEST(EventLoop, AnExceptionOfACallbackComesOutOfRun) {
  EventLoop loop;
  auto source = loop.endOfTurn([] { throw std::runtime_error("callback"); });
  EXPECT_THROW(loop.run(), std::runtime_error);
}

TEST(EventLoop, ExitEndsRunWithItsCode) {
  EventLoop loop;
  auto source = loop.endOfTurn([&] { loop.exit(3); });
  EXPECT_EQ(3, loop.run());
}

TEST(EventLoop, ABadDescriptorIsRaised) {
  EventLoop loop;
  EXPECT_THROW(static_cast<void>(loop.io(-1, EPOLLIN, [](std::uint32_t) {})), std::system_error);
}

TEST(EventLoop, TellsTheServiceManager) {
  OruTest::NotifySocket const manager;
  notifyServiceManager("READY=1");
  EXPECT_EQ("READY=1", manager.take());
}

TEST(EventLoop, FeedsTheWatchdogWhenItIsAskedTo) {
  OruTest::NotifySocket const manager;
  EventLoop loop;
  EXPECT_FALSE(loop.watchdogIs(true));
  ::setenv("WATCHDOG_USEC", "100000", 1);
  EXPECT_TRUE(loop.watchdogIs(true));
  std::string fed;
  auto source = loop.io(manager.fd(), EPOLLIN, [&](std::uint32_t) { fed = manager.take(); });
  EXPECT_TRUE(OruTest::turnUntil(loop, [&] { return !fed.empty(); }));
  EXPECT_EQ("WATCHDOG=1", fed);
  ::unsetenv("WATCHDOG_USEC");
}

// Who writes what is left after the end may still wish for more.
TEST(EventLoop, WhatIsRegisteredAfterTheEndIsNeverCalled) {
  EventLoop loop;
  auto const end = loop.endOfTurn([&] { loop.exit(3); });
  EXPECT_EQ(3, loop.run());
  int calls = 0;
  auto late = loop.endOfTurn([&] { ++calls; });
  auto const timer = loop.timer(std::chrono::milliseconds(1), [&] { ++calls; });
  late.reset();
  EXPECT_EQ(0, calls);
}

}  // namespace
