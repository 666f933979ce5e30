// Copy and release of a counted pointer, with the thread-safe mode off and on.

#include <sys/single_threaded.h>

#include <atomic>
#include <boost/smart_ptr/intrusive_ptr.hpp>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>

#include "bench/Case.h"
#include "runtime/kesh/Entity.h"
#include "runtime/vunda/ThreadControl.h"

namespace Bench {

namespace {

using Vunda::Ptr;

class Thing : public Kesh::Entity {
 public:
  Thing() : Entity("thing") {}
};

template <class Counter>
struct Counted {
  Counter users{0};

  friend void intrusive_ptr_add_ref(Counted* thing) { ++thing->users; }
  friend void intrusive_ptr_release(Counted* thing) {
    if (--thing->users == 0) lastUserGone(thing);
  }
  [[gnu::noinline]] static void lastUserGone(Counted* thing) { delete thing; }
};

// Whatever pointer: a copy, and its release.
template <class Pointer>
Body copyAndRelease(Pointer const& pointer) {
  return metered([pointer](std::uint64_t n) {
    for (std::uint64_t i = 0; i < n; ++i) {
      Pointer copy = pointer;
      hide(copy);
    }
  });
}

// A pointer that owns nothing: through memory, as the others, which are classes.
struct Word {
  std::uint32_t* count;
};

// The least: one word goes up and down.
template <class Up, class Down>
Body counter(Up up, Down down) {
  auto const count = std::make_shared<std::uint32_t>(1);
  return metered([count, up, down](std::uint64_t n) {
    std::uint32_t* const raw = count.get();
    for (std::uint64_t i = 0; i < n; ++i) {
      up(raw);
      Word copy{raw};
      hide(copy);
      if (down(copy.count) == 0) std::abort();
    }
  });
}

Body ours(bool threadSafe) {
  Body const body = copyAndRelease(Vunda::makeNode<Thing>());
  return [body, threadSafe](Meter& meter, std::uint64_t n) {
    Vunda::ThreadControl::tsp_ = threadSafe;
    body(meter, n);
    Vunda::ThreadControl::tsp_ = false;
  };
}

// The C++ library counts atomically once a thread was started, which lasts as long as the process and
// makes allocating atomic, too: it would show in every other case. What tells the library is one flag
// of the program, which is set here as the start of a thread sets it.
Body sharedAmongThreads() {
  Body const body = copyAndRelease(std::make_shared<int>(1));
  return [body](Meter& meter, std::uint64_t n) {
    char const before = std::exchange(__libc_single_threaded, 0);
    body(meter, n);
    __libc_single_threaded = before;
  };
}

struct RegisterPointers {
  RegisterPointers() {
    Register("pointer/clear/ours", 1000, [] { return ours(false); });
    Register("pointer/clear/floor", 1000, [] {
      return counter([](std::uint32_t* count) { ++*count; },
                     [](std::uint32_t* count) { return --*count; });
    });
    Register("pointer/clear/intrusive_ptr", 1000, [] {
      using Unsafe = Counted<std::uint32_t>;
      return copyAndRelease(boost::intrusive_ptr<Unsafe>(new Unsafe));
    });
    Register("pointer/clear/shared_ptr", 1000,
             [] { return copyAndRelease(std::make_shared<int>(1)); });

    Register("pointer/set/ours", 1000, [] { return ours(true); });
    Register("pointer/set/floor", 1000, [] {
      return counter(
          [](std::uint32_t* count) { __atomic_fetch_add(count, 1U, __ATOMIC_RELAXED); },
          [](std::uint32_t* count) { return __atomic_sub_fetch(count, 1U, __ATOMIC_ACQ_REL); });
    });
    Register("pointer/set/intrusive_ptr", 1000, [] {
      using Safe = Counted<std::atomic<std::uint32_t>>;
      return copyAndRelease(boost::intrusive_ptr<Safe>(new Safe));
    });
    Register("pointer/set/shared_ptr", 1000, &sharedAmongThreads);
  }
} const registerPointers;

}  // namespace

}  // namespace Bench
