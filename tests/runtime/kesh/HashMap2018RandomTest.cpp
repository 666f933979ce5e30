// Random operations on keyed collections with several live iterators, against a model.

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <cstdint>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "runtime/kesh/HashMap2018.h"
#include "runtime/vunda/Ptr.h"
#include "runtime/vunda/String.h"
#include "tests/runtime/vunda/SampleNodes.h"
#include "tests/support/HeapProbe.h"

namespace {

using OruTest::FailingAllocation;
using OruTest::Sample;
using Vunda::Ptr;
using Vunda::String;

struct HN_Random;

struct Command {
  unsigned kind;
  unsigned key;
  unsigned other;
};
std::ostream& operator<<(std::ostream& out, Command const& c) {
  return out << "{" << c.kind << "," << c.key << "," << c.other << "}";
}

// A key of which many have one hash.
struct CrowdedKey {
  unsigned number = 0;
  std::uint32_t hash() const { return number % 3; }
  bool operator==(CrowdedKey const&) const = default;
};

template <class T>
T made(unsigned number);
template <>
String made<String>(unsigned number) {
  return number == 0 ? String() : String(("text " + std::to_string(number)).c_str());
}
template <>
std::uint8_t made<std::uint8_t>(unsigned number) {
  return static_cast<std::uint8_t>(number);
}
template <>
std::uint64_t made<std::uint64_t>(unsigned number) {
  return number;
}
template <>
CrowdedKey made<CrowdedKey>(unsigned number) {
  return {number};
}
template <>
Ptr<Sample> made<Ptr<Sample>>(unsigned) {
  return Vunda::makeNode<Sample>();
}

// The model: every member that ever was, in order of insertion, dead ones included, so that an
// iterator is a position.
template <class Key, class Value>
class Run {
 public:
  using Map = Kesh::HashMap2018<HN_Random, Key, Value>;

  // The first thing that went wrong, or null.
  char const* play(std::vector<Command> const& commands) {
    for (Command const& command : commands) {
      execute(command);
      compare();
      if (complaint_) break;
    }
    return complaint_;
  }

 private:
  struct Entry {
    Key key;
    Value value;
    bool alive;
  };
  struct Standing {
    typename Map::Iterator real;
    std::size_t at;
  };

  void expect(bool fulfilled, char const* complaint) {
    if (!fulfilled && !complaint_) complaint_ = complaint;
  }

  void execute(Command const& command) {
    Key const key = made<Key>(command.key);
    switch (command.kind) {
      case 0:
      case 1:
        return insert(key, made<Value>(command.other));
      case 2:
        return exchange(key, made<Value>(command.other));
      case 3:
      case 4:
        return remove(key);
      case 5:
        return removeCurrent(command.other);
      case 6:
      case 7:
        return iterators_.size() < 4 ? iterate(command.other) : advance(command.other);
      case 8:
      case 9:
      case 10:
        return advance(command.other);
      case 11:
      case 12:
        return stopIterating(command.other);
      case 13:
        return command.other == 0 ? removeAll() : iterators_.clear();
      case 14:
        return map_.reserve(command.other * 4);
      case 15:
        return insertWithoutMemory(key, made<Value>(command.other));
      default:
        return copy(command.other);
    }
  }

  void insert(Key const& key, Value const& value) {
    Entry* const present = find(key);
    bool const writes = !present || !(present->value == value);
    expect(map_.memberIs(key, value) == writes, "memberIs tells something else");
    holds(present, key, value);
  }

  void exchange(Key const& key, Value const& value) {
    Entry* const present = find(key);
    expect(map_.memberExchange(key, value) == (present ? present->value : Value{}),
           "memberExchange hands another value over");
    holds(present, key, value);
  }

  void holds(Entry* present, Key const& key, Value const& value) {
    if (present) {
      present->value = value;
    } else {
      entries_.push_back({key, value, true});
    }
  }

  // Where the insertion needs memory it fails and changes nothing; otherwise it succeeds.
  void insertWithoutMemory(Key const& key, Value const& value) {
    if (find(key)) return;
    try {
      FailingAllocation const failing(0);
      map_.newMember(key, value);
    } catch (std::bad_alloc const&) {
      return;
    }
    entries_.push_back({key, value, true});
  }

  void remove(Key const& key) {
    Entry* const present = find(key);
    Value out{};
    expect(map_.deleteMember(key, out) == (present != nullptr),
           "deleteMember tells something else");
    if (!present) return;
    expect(out == present->value, "deleteMember handed another value over");
    kill(*present);
  }

  void removeCurrent(unsigned which) {
    if (iterators_.empty()) return;
    Standing const& standing = iterators_[which % iterators_.size()];
    if (standing.at >= entries_.size()) return;
    if (which % 2 == 0) return remove(standing.real.key());
    Entry& entry = entries_[standing.at];
    expect(map_.deleteMember(standing.real) == entry.alive,
           "deleteMember by iterator tells something else");
    if (entry.alive) kill(entry);
  }

  void removeAll() {
    map_.memberDelAll();
    for (Entry& entry : entries_) kill(entry);
  }

  void iterate(unsigned which) {
    if (which % 2 == 0 && !iterators_.empty()) {
      iterators_.push_back(iterators_[which % iterators_.size()]);
    } else {
      iterators_.push_back({map_.iterator(), nextAlive(0)});
    }
  }

  void advance(unsigned which) {
    if (iterators_.empty()) return;
    Standing& standing = iterators_[which % iterators_.size()];
    if (standing.at >= entries_.size()) return;
    ++standing.real;
    standing.at = nextAlive(standing.at + 1);
  }

  void stopIterating(unsigned which) {
    if (iterators_.empty()) return;
    std::vector<Standing> rest;
    for (std::size_t i = 0; i < iterators_.size(); ++i) {
      if (i != which % iterators_.size()) rest.push_back(iterators_[i]);
    }
    iterators_.swap(rest);
  }

  void copy(unsigned how) {
    Map other = map_;
    expect(other == map_, "the copy is not equal");
    expectSame(other);
    if (how % 2 != 0 || !iterators_.empty()) return;
    if (how % 4 == 0) {
      map_ = other;
    } else {
      map_ = std::move(other);
    }
  }

  void compare() {
    map_.verify();
    for (Standing const& standing : iterators_) {
      bool const ended = standing.at >= entries_.size();
      expect(static_cast<bool>(standing.real) != ended, "an iterator ends elsewhere");
      if (ended || complaint_) continue;
      Entry const& entry = entries_[standing.at];
      expect(standing.real.key() == entry.key, "an iterator reads another key");
      auto const* const member = standing.real.currNodeNonStale();
      expect((member != nullptr) == entry.alive, "an iterator takes a stale member for a live one");
      expect(!member || member->value() == entry.value, "an iterator reads another value");
    }
    expectSame(map_);
  }

  void expectSame(Map const& map) {
    auto it = map.iterator();
    std::uint32_t alive = 0;
    for (Entry const& entry : entries_) {
      if (!entry.alive) continue;
      ++alive;
      Value const* const found = map.lookup(entry.key);
      expect(found && *found == entry.value, "a lookup fails");
      expect(it && it.key() == entry.key && it.value() == entry.value, "the order differs");
      if (complaint_) return;
      ++it;
    }
    expect(!it, "the iteration goes on");
    expect(map.size() == alive, "the size differs");
    for (unsigned number = 0; number < keyCount; ++number) {
      Key const key = made<Key>(number);
      expect(map.has(key) == (find(key) != nullptr), "a key is there that is not");
    }
  }

  static void kill(Entry& entry) {
    entry.alive = false;
    entry.value = Value();
  }
  Entry* find(Key const& key) {
    for (Entry& entry : entries_) {
      if (entry.alive && entry.key == key) return &entry;
    }
    return nullptr;
  }
  std::size_t nextAlive(std::size_t at) const {
    while (at < entries_.size() && !entries_[at].alive) ++at;
    return at;
  }

 public:
  static constexpr unsigned keyCount = 24;

 private:
  Map map_;
  std::vector<Entry> entries_;
  std::vector<Standing> iterators_;
  char const* complaint_ = nullptr;
};

rc::Gen<std::vector<Command>> anyCommands() {
  auto const command = rc::gen::construct<Command>(
      rc::gen::inRange(0U, 18U), rc::gen::inRange(0U, Run<String, String>::keyCount),
      rc::gen::inRange(0U, 16U));
  return rc::gen::scale(4, rc::gen::container<std::vector<Command>>(command));
}

template <class Key, class Value>
void check() {
  auto const commands = *anyCommands();
  Run<Key, Value> run;
  char const* const complaint = run.play(commands);
  RC_ASSERT((complaint ? std::string(complaint) : std::string()) == std::string());
}

RC_GTEST_PROP(HashMap2018Random, TextsByText, ()) { check<String, String>(); }
RC_GTEST_PROP(HashMap2018Random, CountedPointersByText, ()) { check<String, Ptr<Sample>>(); }
RC_GTEST_PROP(HashMap2018Random, NumbersBySmallNumber, ()) { check<std::uint8_t, std::uint64_t>(); }
RC_GTEST_PROP(HashMap2018Random, CountedPointersByKeysOfFewHashes, ()) {
  check<CrowdedKey, Ptr<Sample>>();
}

// A failed allocation at every point of a copy leaves the collection and the target unchanged.
TEST(HashMap2018Allocation, AFailedCopyLeavesNothingBehind) {
  struct Heavy {
    Heavy() = default;
    explicit Heavy(int of) : number(new int(of)) {}
    Heavy(Heavy const& other) : number(other.number ? new int(*other.number) : nullptr) {}
    Heavy(Heavy&& other) noexcept : number(std::exchange(other.number, nullptr)) {}
    Heavy& operator=(Heavy other) noexcept {
      std::swap(number, other.number);
      return *this;
    }
    ~Heavy() { delete number; }
    bool operator==(Heavy const& other) const { return *number == *other.number; }
    int* number = nullptr;
  };
  using Map = Kesh::HashMap2018<HN_Random, String, Heavy>;
  Map map;
  for (int i = 0; i < 6; ++i) map.newMember(made<String>(static_cast<unsigned>(i)), Heavy(i));
  map.deleteMember(made<String>(2));
  Map target;
  target.newMember("target", Heavy(1));

  bool failed = true;
  std::size_t failures = 0;
  for (; failed; ++failures) {
    auto const live = OruTest::heapLive();
    FailingAllocation const failing(failures);
    try {
      target = map;
      failed = false;
    } catch (std::bad_alloc const&) {
      EXPECT_EQ(OruTest::heapLive(), live);
      ASSERT_EQ(target.size(), 1U);
    }
  }
  EXPECT_EQ(failures, 1U + 5U + 1U) << "the storage, five values, and then success";
  EXPECT_EQ(target, map);
  map.verify();
}

TEST(HashMap2018Allocation, AFailedGrowthChangesNothingAndAnIteratorGoesOn) {
  Kesh::HashMap2018<HN_Random, String, Ptr<Sample>> map;
  for (unsigned i = 0; i < 4; ++i) map.newMember(made<String>(i + 1), made<Ptr<Sample>>(0));
  auto it = map.iterator();
  map.deleteMember(made<String>(1));
  String const fifth("fifth");
  {
    FailingAllocation const failing(0);
    EXPECT_THROW(map.newMember(fifth, nullptr), std::bad_alloc);
  }
  {
    FailingAllocation const failing(0);
    EXPECT_THROW(map.reserve(100), std::bad_alloc);
  }
  map.verify();
  EXPECT_EQ(map.size(), 3U);
  EXPECT_FALSE(map.has(fifth));
  EXPECT_EQ(it.key(), made<String>(1));
  ++it;
  EXPECT_EQ(it.key(), made<String>(2));
  map.newMember(fifth, nullptr);
  EXPECT_EQ(map.size(), 4U);
}

}  // namespace
