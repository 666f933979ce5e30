// Notification of 1, 8 and 64 subscribers, subscription, and a subscriber that removes itself. The
// figure is per notification of all subscribers, and per subscription with its end.

#include <array>
#include <boost/signals2/dummy_mutex.hpp>
#include <boost/signals2/signal.hpp>
#include <boost/signals2/signal_type.hpp>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "bench/Case.h"
#include "runtime/kesh/Entity.h"
#include "runtime/vunda/Subscriber.h"

namespace Bench {

namespace {

using Vunda::FieldId;
using Signal = boost::signals2::signal<void(int)>;
// As one would have it where one thread alone uses it.
using UnlockedSignal = boost::signals2::signal_type<
    void(int), boost::signals2::keywords::mutex_type<boost::signals2::dummy_mutex>>::type;

std::uint64_t calls = 0;

class Source : public Kesh::Entity {
 public:
  Source() : Entity("source") {}
  void change() { publisher_.publishChange(FieldId(1), nullptr, nullptr); }
};

void countCall(Vunda::Publisher*, Vunda::Subscriber*, FieldId, void const*, void const*) noexcept {
  ++calls;
}

struct Subscribers {
  explicit Subscribers(std::size_t count) : slots(count) {
    for (auto& slot : slots) slot.subscribeTo(source, &countCall);
  }
  ~Subscribers() {
    for (auto& slot : slots) slot.unsubscribeFrom(source);
  }
  Vunda::Ptr<Source> const source = Vunda::makeNode<Source>();
  std::vector<Vunda::Subscriber> slots;
};

template <class Signal>
Body signalOf(std::size_t count) {
  auto const signal = std::make_shared<Signal>();
  for (std::size_t i = 0; i < count; ++i) signal->connect([](int) { ++calls; });
  return metered([signal](std::uint64_t n) {
    for (std::uint64_t i = 0; i < n; ++i) (*signal)(1);
  });
}

void addNotification(std::size_t count) {
  std::string const name = "notify/" + std::to_string(count);
  Register(name + "/ours", 1000, [count]() -> Body {
    auto const subscribers = std::make_shared<Subscribers>(count);
    return metered([subscribers](std::uint64_t n) {
      for (std::uint64_t i = 0; i < n; ++i) subscribers->source->change();
    });
  });
  Register(name + "/floor", 1000, [count]() -> Body {
    using Functions = std::vector<Vunda::Subscriber::Callback>;
    auto const functions = std::make_shared<Functions>(count, &countCall);
    return metered([functions](std::uint64_t n) {
      for (std::uint64_t i = 0; i < n; ++i) {
        Functions* all = functions.get();
        hide(all);
        for (auto const function : *all) function(nullptr, nullptr, FieldId(1), nullptr, nullptr);
      }
    });
  });
  Register(name + "/boost", 1000, [count] { return signalOf<Signal>(count); });
  Register(name + "/boost-unlocked", 1000, [count] { return signalOf<UnlockedSignal>(count); });
}

// The least that knows whom to call, and forgets the last one again.
struct FloorPublisher {
  std::array<Vunda::Subscriber::Callback, 8> functions{};
  std::size_t count = 0;
};

// The last to come is the first to go.
void addSubscriptionOfOne() {
  Register("subscribe/1/ours", 1000, []() -> Body {
    auto const source = Vunda::makeNode<Source>();
    return metered([source](std::uint64_t n) {
      Vunda::Subscriber slot;
      for (std::uint64_t i = 0; i < n; ++i) {
        slot.subscribeTo(*source, &countCall);
        slot.unsubscribeFrom(*source);
      }
    });
  });
  Register("subscribe/1/floor", 1000, []() -> Body {
    auto const publisher = std::make_shared<FloorPublisher>();
    return metered([publisher](std::uint64_t n) {
      FloorPublisher* to = publisher.get();
      for (std::uint64_t i = 0; i < n; ++i) {
        hide(to);
        to->functions[to->count++] = &countCall;
        hide(to);
        to->functions[--to->count] = nullptr;
      }
    });
  });
  Register("subscribe/1/boost", 1000, []() -> Body {
    auto const signal = std::make_shared<Signal>();
    return metered([signal](std::uint64_t n) {
      for (std::uint64_t i = 0; i < n; ++i) signal->connect([](int) { ++calls; }).disconnect();
    });
  });
}

// One of nine goes, which is always the fourth in their order, and comes back as the last: the first
// three stay, the others go in turn.
template <class Renew>
Body renewingFourth(Renew renew) {
  return metered([renew](std::uint64_t n) {
    std::size_t fourth = 3;
    for (std::uint64_t i = 0; i < n; ++i) {
      renew(fourth);
      fourth = fourth == 8 ? 3 : fourth + 1;
    }
  });
}

void addSubscriptionAmongEight() {
  Register("subscribe/8/ours", 1000, []() -> Body {
    auto const subscribers = std::make_shared<Subscribers>(9);
    return renewingFourth([subscribers](std::size_t index) {
      auto& slot = subscribers->slots[index];
      slot.unsubscribeFrom(subscribers->source);
      slot.subscribeTo(subscribers->source, &countCall);
    });
  });
  Register("subscribe/8/boost", 1000, []() -> Body {
    auto const signal = std::make_shared<Signal>();
    auto const connect = [signal] { return signal->connect([](int) { ++calls; }); };
    auto const connections = std::make_shared<std::vector<boost::signals2::connection>>();
    for (int i = 0; i < 9; ++i) connections->push_back(connect());
    return renewingFourth([=](std::size_t index) {
      (*connections)[index].disconnect();
      (*connections)[index] = connect();
    });
  });
}

// A delivery is as short as a turn of the meter, and whoever went would have to come back before the
// next one: there are as many sources as deliveries, each with its eight subscribers, and the meter
// runs once, while all deliver.

struct LeavingSlot : Vunda::Subscriber {
  explicit LeavingSlot(Source& from) : source(from) {}
  Source& source;
};

void leave(Vunda::Publisher*, Vunda::Subscriber* slot, FieldId, void const*, void const*) noexcept {
  ++calls;
  auto* const self = static_cast<LeavingSlot*>(slot);
  self->unsubscribeFrom(self->source);
}

// Of eight subscribers the fourth is told by `toFourth`: it goes when it is called, or stays.
struct Audience {
  explicit Audience(Vunda::Subscriber::Callback toFourth) : fourth(*source) {
    for (auto& slot : before) slot.subscribeTo(source, &countCall);
    fourth.subscribeTo(source, toFourth);
    for (auto& slot : behind) slot.subscribeTo(source, &countCall);
  }
  ~Audience() {
    for (auto& slot : before) slot.unsubscribeFrom(source);
    if (fourth.subscribed()) fourth.unsubscribeFrom(source);
    for (auto& slot : behind) slot.unsubscribeFrom(source);
  }
  void change() { source->change(); }
  Vunda::Ptr<Source> const source = Vunda::makeNode<Source>();
  std::array<Vunda::Subscriber, 3> before;
  LeavingSlot fourth;
  std::array<Vunda::Subscriber, 4> behind;
};

// The peer: its fourth has itself disconnected, and is passed over from then on; its place is taken
// back when the signal is next changed or delivered.
struct BoostAudience {
  BoostAudience() {
    for (int i = 0; i < 3; ++i) signal.connect([](int) { ++calls; });
    signal.connect_extended([](boost::signals2::connection const& self, int) {
      ++calls;
      self.disconnect();
    });
    for (int i = 0; i < 4; ++i) signal.connect([](int) { ++calls; });
  }
  void change() { signal(1); }
  Signal signal;
};

template <class Listeners, class... Arguments>
Body delivery(Arguments... arguments) {
  return [=](Meter& meter, std::uint64_t n) {
    std::deque<Listeners> all;
    for (std::uint64_t i = 0; i < n; ++i) all.emplace_back(arguments...);
    meter.start();
    for (Listeners& one : all) one.change();
    meter.stop();
  };
}

struct RegisterNotifications {
  RegisterNotifications() {
    for (std::size_t const count : {1U, 8U, 64U}) addNotification(count);
    addSubscriptionOfOne();
    addSubscriptionAmongEight();
    Register("self-removal/8/ours", 100, [] { return delivery<Audience>(&leave); });
    Register("self-removal/8/plain", 100, [] { return delivery<Audience>(&countCall); });
    Register("self-removal/8/boost", 100, [] { return delivery<BoostAudience>(); });
  }
} const registerNotifications;

}  // namespace

}  // namespace Bench
