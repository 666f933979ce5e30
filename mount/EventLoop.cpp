#include "mount/EventLoop.h"

#include <pthread.h>
#include <sys/epoll.h>
#include <sys/wait.h>
#include <systemd/sd-daemon.h>
#include <systemd/sd-event.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

namespace Oru::Mount {

namespace Impl {

// A callback behind the C interface. It may release its own source while it runs; it then goes when
// it returns.
struct SourceCallback {
  explicit SourceCallback(EventLoop& owner) : loop(owner) {}
  SourceCallback(SourceCallback const&) = delete;
  SourceCallback& operator=(SourceCallback const&) = delete;
  virtual ~SourceCallback() { sd_event_source_disable_unref(source); }

  template <class Function, class... Args>
  int call(Function const& function, Args const&... args) noexcept {
    running = true;
    try {
      function(args...);
    } catch (...) {
      loop.failure_ = std::current_exception();
      sd_event_exit(loop.event_, 1);
    }
    running = false;
    if (released) delete this;
    return 0;
  }

  EventLoop& loop;
  sd_event_source* source = nullptr;
  bool running = false;
  bool released = false;
};

void ReleaseSource::operator()(SourceCallback* callback) const noexcept {
  if (!callback->running) {
    delete callback;
    return;
  }
  callback->released = true;
  sd_event_source_set_enabled(callback->source, SD_EVENT_OFF);
}

namespace {

template <class... Args>
struct Call : SourceCallback {
  Call(EventLoop& owner, std::function<void(Args...)> callback)
      : SourceCallback(owner), function(std::move(callback)) {}
  static Call& of(void* userdata) noexcept { return *static_cast<Call*>(userdata); }

  std::function<void(Args...)> const function;
};

}  // namespace

}  // namespace Impl

namespace {

using Impl::Call;

void require(int result, char const* what) {
  if (result < 0) throw std::system_error(-result, std::generic_category(), what);
}

int onIo(sd_event_source*, int, std::uint32_t events, void* userdata) {
  auto& self = Call<std::uint32_t>::of(userdata);
  return self.call(self.function, events);
}

int onTimer(sd_event_source*, std::uint64_t, void* userdata) {
  auto& self = Call<>::of(userdata);
  return self.call(self.function);
}

int onSignal(sd_event_source*, signalfd_siginfo const* info, void* userdata) {
  auto& self = Call<signalfd_siginfo const&>::of(userdata);
  return self.call(self.function, *info);
}

int onDefer(sd_event_source*, void* userdata) {
  auto& self = Call<>::of(userdata);
  return self.call(self.function);
}

void block(int number) {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, number);
  if (int const error = pthread_sigmask(SIG_BLOCK, &set, nullptr)) require(-error, "sigmask");
}

}  // namespace

// All timers share a descriptor, which the first one opens. Here that is one that never ends, so that
// timers can still be had when descriptors have run out: that is when something is to be tried again.
EventLoop::EventLoop() {
  require(sd_event_new(&event_), "sd_event_new");
  int const result =
      sd_event_add_time(event_, nullptr, CLOCK_MONOTONIC, UINT64_MAX, 0, nullptr, nullptr);
  if (result < 0) sd_event_unref(event_);
  require(result, "timers");
}

EventLoop::~EventLoop() { sd_event_unref(event_); }

template <class Call, class Function, class Add>
EventSource EventLoop::add(Function&& function, Add&& addSource) {
  auto call = std::make_unique<Call>(*this, std::forward<Function>(function));
  int const result = addSource(&call->source, static_cast<void*>(call.get()));
  bool const hasEnded = result == -ESTALE;
  if (!hasEnded) require(result, "event source");
  EventSource source;
  source.callback_.reset(call.release());
  return source;
}

EventSource EventLoop::io(int fd, std::uint32_t events,
                          std::function<void(std::uint32_t)> callback) {
  return add<Call<std::uint32_t>>(std::move(callback), [&](sd_event_source** source, void* self) {
    return sd_event_add_io(event_, source, fd, events, onIo, self);
  });
}

EventSource EventLoop::timer(std::chrono::microseconds delay, Callback callback,
                             std::chrono::microseconds slack) {
  return add<Call<>>(std::move(callback), [&](sd_event_source** source, void* self) {
    auto const usec = [](std::chrono::microseconds time) {
      return time.count() < 0 ? 0 : static_cast<std::uint64_t>(time.count());
    };
    // Accuracy 0 stands for the default of a quarter of a second.
    return sd_event_add_time_relative(event_, source, CLOCK_MONOTONIC, usec(delay),
                                      std::max<std::uint64_t>(usec(slack), 1), onTimer, self);
  });
}

EventSource EventLoop::signal(int number, std::function<void(signalfd_siginfo const&)> callback) {
  block(number);
  return add<Call<signalfd_siginfo const&>>(
      std::move(callback), [&](sd_event_source** source, void* self) {
        return sd_event_add_signal(event_, source, number, onSignal, self);
      });
}

EventSource EventLoop::child(int pidfd, std::function<void(siginfo_t const&)> callback) {
  return processEnd(pidfd, [pidfd, callback = std::move(callback)] {
    siginfo_t info{};
    if (::waitid(P_PIDFD, static_cast<id_t>(pidfd), &info, WEXITED | WNOHANG) == 0) callback(info);
  });
}

EventSource EventLoop::processEnd(int pidfd, Callback callback) {
  return add<Call<std::uint32_t>>(
      [callback = std::move(callback)](std::uint32_t) { callback(); },
      [&](sd_event_source** source, void* self) {
        int const result = sd_event_add_io(event_, source, pidfd, EPOLLIN, onIo, self);
        return result < 0 ? result : sd_event_source_set_enabled(*source, SD_EVENT_ONESHOT);
      });
}

EventSource EventLoop::endOfTurn(Callback callback) {
  return add<Call<>>(std::move(callback), [&](sd_event_source** source, void* self) {
    // Sources of one priority are served in the order in which they were found ready.
    return sd_event_add_defer(event_, source, onDefer, self);
  });
}

int EventLoop::run() {
  int const result = sd_event_loop(event_);
  rethrow();
  require(result, "sd_event_loop");
  return result;
}

bool EventLoop::turn(std::chrono::microseconds timeout) {
  auto const usec = timeout.count() < 0 ? UINT64_MAX : static_cast<std::uint64_t>(timeout.count());
  int const result = sd_event_run(event_, usec);
  rethrow();
  require(result, "sd_event_run");
  return result > 0;
}

void EventLoop::exit(int code) noexcept { sd_event_exit(event_, code); }

void EventLoop::rethrow() {
  if (failure_) std::rethrow_exception(std::exchange(failure_, nullptr));
}

bool EventLoop::watchdogIs(bool on) {
  int const result = sd_event_set_watchdog(event_, on ? 1 : 0);
  require(result, "watchdog");
  return result > 0;
}

void notifyServiceManager(char const* state) noexcept { sd_notify(0, state); }

}  // namespace Oru::Mount
