#pragma once

#include <sys/signalfd.h>
#include <sys/types.h>

#include <chrono>
#include <csignal>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>

struct sd_event;
struct sd_event_source;

namespace Oru::Mount {

class EventLoop;

namespace Impl {
struct SourceCallback;
struct ReleaseSource {
  void operator()(SourceCallback* callback) const noexcept;
};
}  // namespace Impl

// A registration with the loop. It owns: destroying or resetting it ends the registration, from
// within its own callback too. One whose single call was made stays true until it is reset. It must
// not outlive the loop.
class EventSource {
 public:
  EventSource() noexcept = default;
  EventSource(EventSource&&) noexcept = default;
  EventSource& operator=(EventSource&&) noexcept = default;

  explicit operator bool() const noexcept { return callback_ != nullptr; }
  void reset() noexcept { callback_.reset(); }

 private:
  friend class EventLoop;
  std::unique_ptr<Impl::SourceCallback, Impl::ReleaseSource> callback_;
};

// The event loop of a program: one thread, no polling. Callbacks run one at a time from run() or
// turn(). An exception that leaves a callback ends the loop and comes out of run() or turn(). What
// the system refuses (no memory, no descriptors, a bad descriptor) is raised as std::system_error.
// What is registered after run() has returned is never called.
class EventLoop {
 public:
  using Callback = std::function<void()>;
  using Clock = std::chrono::steady_clock;

  EventLoop();
  ~EventLoop();
  EventLoop(EventLoop const&) = delete;
  EventLoop& operator=(EventLoop const&) = delete;

  // Calls `callback` with the events (EPOLLIN, ...) whenever the descriptor is ready. The
  // descriptor stays the caller's and must be closed after the source is reset.
  [[nodiscard]] EventSource io(int fd, std::uint32_t events,
                               std::function<void(std::uint32_t)> callback);
  // Once, `delay` from now, and not more than `slack` later. Needs no descriptor.
  [[nodiscard]] EventSource timer(std::chrono::microseconds delay, Callback callback,
                                  std::chrono::microseconds slack = std::chrono::milliseconds(1));
  // Whenever the signal arrives; blocks its ordinary delivery in the calling thread. To be set up
  // before other threads start.
  [[nodiscard]] EventSource signal(int number,
                                   std::function<void(signalfd_siginfo const&)> callback);
  // Once, when the child process that `pidfd` refers to has ended; reaps it. The descriptor stays
  // the caller's. SIGCHLD need not be blocked.
  [[nodiscard]] EventSource child(int pidfd, std::function<void(siginfo_t const&)> callback);
  // Once, when the process that `pidfd` refers to has ended, be it a child or not; reaps nothing.
  [[nodiscard]] EventSource processEnd(int pidfd, Callback callback);
  // Once, at the end of this turn: after the callbacks of everything that was found ready before.
  [[nodiscard]] EventSource endOfTurn(Callback callback);

  // Runs until exit() and returns its code.
  int run();
  // One turn: waits at most `timeout` (negative: for ever) for something to happen and runs one
  // callback. Returns whether one ran. For tests and for programs that embed the loop.
  bool turn(std::chrono::microseconds timeout);
  // Lets run() return after the present callback.
  void exit(int code = 0) noexcept;

  // Sends WATCHDOG=1 as often as the service manager asks for it through the environment; returns
  // whether it asks.
  bool watchdogIs(bool on);

  sd_event* handle() const noexcept { return event_; }

 private:
  friend struct Impl::SourceCallback;
  template <class Call, class Function, class Add>
  EventSource add(Function&& function, Add&& addSource);
  void rethrow();

  sd_event* event_ = nullptr;
  std::exception_ptr failure_;
};

// Tells the service manager; nothing when there is none. `state` is a line such as "READY=1" or
// "STATUS=4 slices".
void notifyServiceManager(char const* state) noexcept;

}  // namespace Oru::Mount
