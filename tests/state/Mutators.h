#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <vector>

#include "runtime/vunda/FieldId.h"
#include "tests/support/CallbackSlot.h"

namespace OruTest {

// What a mutator of the state model must do, checked step by step with values of the caller's
// choice.

// One announcement, and what its subscriber reads of the node from within it.
template <class Key, class Value>
struct Announced {
  std::uint16_t field;
  std::optional<Key> key;
  std::optional<Value> value;
  Value readInside;

  bool operator==(Announced const&) const = default;
};

template <class Key, class Value, class Node, class Read>
class Announcements {
 public:
  Announcements(Node const& node, Read read)
      : slot_(node, [this, &node, read](CallbackSlot::Change const& change) {
          Announced<Key, Value> seen{change.field.value(), {}, {}, read(node)};
          if (change.key) seen.key = *static_cast<Key const*>(change.key);
          if (change.value) seen.value = *static_cast<Value const*>(change.value);
          seen_.push_back(seen);
        }) {}

  // Whether exactly this one was announced since the last call.
  void expectOne(Announced<Key, Value> const& wanted) {
    ASSERT_EQ(seen_.size(), 1U);
    EXPECT_EQ(seen_[0].field, wanted.field);
    EXPECT_TRUE(seen_[0].key == wanted.key) << "another key";
    EXPECT_TRUE(seen_[0].value == wanted.value) << "another value";
    EXPECT_TRUE(seen_[0].readInside == wanted.readInside) << "announced before it was written";
    seen_.clear();
  }
  void expectNone() {
    EXPECT_EQ(seen_.size(), 0U);
    seen_.clear();
  }

 private:
  std::vector<Announced<Key, Value>> seen_;
  CallbackSlot slot_;
};

// An attribute: `write(node, value)` writes before it announces once, without key; an equal value
// is silent.
template <class Node, class Value, class Read, class Write>
void expectAttribute(Node& node, Vunda::FieldId field, Value const& initial, Value const& other,
                     Read read, Write write) {
  SCOPED_TRACE(field.value());
  Announcements<char, Value, Node, Read> announcements(node, read);
  EXPECT_TRUE(read(node) == initial) << "another initial value";
  write(node, initial);
  announcements.expectNone();
  for (Value const& value : {other, initial}) {
    write(node, value);
    EXPECT_TRUE(read(node) == value) << "not written";
    announcements.expectOne({field.value(), std::nullopt, value, value});
    write(node, value);
    announcements.expectNone();
  }
}

// A member of a collection: `write(node, key, value)` announces an insertion whatever the value,
// and a change, once and with the key; an equal value is silent. `erase(node, key)` announces a
// removal without value; of an absent key nothing. `read(node, key)` gives `absent` for a key that
// is not there.
template <class Node, class Key, class Value, class Read, class Write, class Erase>
void expectMember(Node& node, Vunda::FieldId field, Key const& key, Value const& absent,
                  Value const& first, Value const& other, Read read, Write write, Erase erase) {
  SCOPED_TRACE(field.value());
  auto const readKey = [read, key](Node const& of) -> Value { return read(of, key); };
  Announcements<Key, Value, Node, decltype(readKey)> announcements(node, readKey);
  EXPECT_TRUE(readKey(node) == absent) << "there already";
  erase(node, key);
  announcements.expectNone();
  for (Value const& value : {first, other}) {
    write(node, key, value);
    EXPECT_TRUE(readKey(node) == value) << "not written";
    announcements.expectOne({field.value(), key, value, value});
    write(node, key, value);
    announcements.expectNone();
  }
  erase(node, key);
  EXPECT_TRUE(readKey(node) == absent) << "not removed";
  announcements.expectOne({field.value(), key, std::nullopt, absent});
  erase(node, key);
  announcements.expectNone();
}

}  // namespace OruTest
