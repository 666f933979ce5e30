// The runtime's mechanisms, each beside its floor and its peers. The figure is per operation: per
// notification, per copy and release, per lookup, per member.

#include <absl/container/flat_hash_map.h>

#include <boost/signals2/signal.hpp>
#include <memory>
#include <string>
#include <vector>

#include "bench/Case.h"
#include "runtime/kesh/Entity.h"
#include "runtime/kesh/HashMap2018.h"
#include "runtime/vunda/Subscriber.h"

namespace Bench {

namespace {

using Vunda::Ptr, Vunda::String, Vunda::FieldId;

// Keeps the compiler from seeing what a value is, and so from leaving work out.
template <class T>
void hide(T& value) {
  asm volatile("" : "+r,m"(value) : : "memory");
}

std::uint64_t calls = 0;

// ---- notification

class Source : public Kesh::Entity {
 public:
  Source() : Entity("source") {}
  void change() { publisher_.publishChange(FieldId(1), nullptr, nullptr); }
};

void countCall(Vunda::Publisher*, Vunda::Subscriber*, FieldId, void const*, void const*) noexcept {
  ++calls;
}

struct Subscribers {
  explicit Subscribers(int count) : slots(static_cast<std::size_t>(count)) {
    for (auto& slot : slots) slot.subscribeTo(source, &countCall);
  }
  ~Subscribers() {
    for (auto& slot : slots) slot.unsubscribeFrom(source);
  }
  Ptr<Source> const source = Vunda::makeNode<Source>();
  std::vector<Vunda::Subscriber> slots;
};

using Function = void (*)(Vunda::Publisher*, Vunda::Subscriber*, FieldId, void const*,
                          void const*) noexcept;

void addNotification(int count) {
  std::string const name = "notify/" + std::to_string(count);
  Register(name + "/ours", 1000, [count]() -> Body {
    auto const subscribers = std::make_shared<Subscribers>(count);
    return metered([subscribers](std::uint64_t n) {
      for (std::uint64_t i = 0; i < n; ++i) subscribers->source->change();
    });
  });
  Register(name + "/floor", 1000, [count]() -> Body {
    return metered([functions = std::vector<Function>(static_cast<std::size_t>(count), &countCall)](
                       std::uint64_t n) mutable {
      for (std::uint64_t i = 0; i < n; ++i) {
        hide(functions);
        for (Function const function : functions)
          function(nullptr, nullptr, FieldId(1), nullptr, nullptr);
      }
    });
  });
  Register(name + "/boost", 1000, [count]() -> Body {
    auto const signal = std::make_shared<boost::signals2::signal<void(int)>>();
    for (int i = 0; i < count; ++i) signal->connect([](int) { ++calls; });
    return metered([signal](std::uint64_t n) {
      for (std::uint64_t i = 0; i < n; ++i) (*signal)(1);
    });
  });
}

// ---- subscription

void addSubscription() {
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
}

// ---- counted pointer

void addCountedPointer() {
  Register("pointer/1/ours", 1000, []() -> Body {
    auto const node = Vunda::makeNode<Source>();
    return metered([node](std::uint64_t n) {
      for (std::uint64_t i = 0; i < n; ++i) {
        Ptr<Source> copy = node;
        hide(copy);
      }
    });
  });
  Register("pointer/1/floor", 1000, []() -> Body {
    auto const count = std::make_shared<std::uint32_t>(1);
    return metered([raw = count.get(), count](std::uint64_t n) {
      for (std::uint64_t i = 0; i < n; ++i) {
        ++*raw;
        std::uint32_t* copy = raw;
        hide(copy);
        if (--*copy == 0) std::abort();
      }
    });
  });
  Register("pointer/1/shared_ptr", 1000, []() -> Body {
    auto const node = std::make_shared<int>(1);
    return metered([node](std::uint64_t n) {
      for (std::uint64_t i = 0; i < n; ++i) {
        std::shared_ptr<int> copy = node;
        hide(copy);
      }
    });
  });
}

// ---- keyed collection, name to pointer

struct HN_Bench;
using Collection = Kesh::HashMap2018<HN_Bench, String, void*>;
using Abseil = absl::flat_hash_map<std::string, void*>;

std::string memberName(std::size_t i) {
  return "Ethernet" + std::to_string(i / 64) + "/" + std::to_string(i % 64);
}

struct Keys {
  explicit Keys(std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
      names.emplace_back(memberName(i).c_str());
      texts.push_back(memberName(i));
      absentNames.emplace_back(("x" + memberName(i)).c_str());
      absentTexts.push_back("x" + memberName(i));
    }
  }
  std::vector<String> names, absentNames;
  std::vector<std::string> texts, absentTexts;
};

struct Maps : Keys {
  explicit Maps(std::size_t count) : Keys(count) { fill(); }
  void fill() {
    for (String const& name : names) ours.memberIs(name, this);
    for (std::string const& text : texts) abseil.insert_or_assign(text, this);
  }
  Collection ours;
  Abseil abseil;
};

template <class Action>
void addKeyed(std::string const& name, std::size_t size, Action action) {
  std::uint64_t const operations = size * (size < 1000 ? 1000 / size + 1 : 1);
  Register("keyed." + name, operations, [size, action]() -> Body {
    auto const maps = std::make_shared<Maps>(size);
    return [maps, action, size](Meter& meter, std::uint64_t n) {
      for (std::uint64_t done = 0; done < n; done += size) action(*maps, meter);
    };
  });
}

// What happens to every member in turn, metered as a whole.
template <class Each>
auto overAll(Each each) {
  return [each](Maps& maps, Meter& meter) {
    meter.start();
    for (std::size_t i = 0; i < maps.names.size(); ++i) each(maps, i);
    meter.stop();
  };
}

void addKeyed(std::size_t size) {
  std::string const at = "/" + std::to_string(size);
  addKeyed("hit" + at + "/ours", size, overAll([](Maps& maps, std::size_t i) {
             auto found = maps.ours.lookup(maps.names[i]);
             hide(found);
           }));
  addKeyed("hit" + at + "/abseil", size, overAll([](Maps& maps, std::size_t i) {
             auto found = &maps.abseil.find(maps.texts[i])->second;
             hide(found);
           }));
  addKeyed("miss" + at + "/ours", size, overAll([](Maps& maps, std::size_t i) {
             auto found = maps.ours.lookup(maps.absentNames[i]);
             hide(found);
           }));
  addKeyed("miss" + at + "/abseil", size, overAll([](Maps& maps, std::size_t i) {
             bool found = maps.abseil.contains(maps.absentTexts[i]);
             hide(found);
           }));
  addKeyed("churn" + at + "/ours", size, overAll([](Maps& maps, std::size_t i) {
             maps.ours.deleteMember(maps.names[i]);
             maps.ours.memberIs(maps.names[i], &maps);
           }));
  addKeyed("churn" + at + "/abseil", size, overAll([](Maps& maps, std::size_t i) {
             maps.abseil.erase(maps.texts[i]);
             maps.abseil.insert_or_assign(maps.texts[i], &maps);
           }));
  addKeyed("iterate" + at + "/ours", size, [](Maps& maps, Meter& meter) {
    meter.start();
    for (auto it = maps.ours.iterator(); it; ++it) {
      void* value = it.currNodeNonStale()->value();
      hide(value);
    }
    meter.stop();
  });
  addKeyed("iterate" + at + "/abseil", size, [](Maps& maps, Meter& meter) {
    meter.start();
    for (auto& [key, member] : maps.abseil) {
      void* value = member;
      hide(value);
    }
    meter.stop();
  });
  addKeyed("erase-all" + at + "/ours", size, [](Maps& maps, Meter& meter) {
    meter.start();
    for (auto it = maps.ours.iterator(); it; ++it) maps.ours.deleteMember(it.key());
    meter.stop();
    maps.fill();
  });
  addKeyed("erase-all" + at + "/abseil", size, [](Maps& maps, Meter& meter) {
    meter.start();
    for (auto it = maps.abseil.begin(); it != maps.abseil.end();) maps.abseil.erase(it++);
    meter.stop();
    maps.fill();
  });
}

struct RegisterRuntime {
  RegisterRuntime() {
    for (int count : {1, 8, 64}) addNotification(count);
    addSubscription();
    addCountedPointer();
    for (std::size_t size : {std::size_t{8}, std::size_t{64}, std::size_t{4096}}) addKeyed(size);
  }
} const registerRuntime;

}  // namespace

}  // namespace Bench
