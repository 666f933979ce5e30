#include "state/ResetEntry.h"

#include <gtest/gtest.h>

#include <new>
#include <vector>

#include "runtime/kesh/MutatorException.h"
#include "state/ResetRequestDir.h"
#include "state/ResetStatusDir.h"
#include "tests/state/Mutators.h"
#include "tests/support/HeapProbe.h"

namespace {

using Oru::Central::ResetEntry;
using Oru::Central::ResetKey;
using Oru::Central::ResetReason;
using Oru::Central::ResetRequestDir;
using Oru::Central::ResetStatusDir;
using Oru::Central::ResetType;
using OruTest::CallbackSlot;
using OruTest::expectAttribute;
using Vunda::Duration;
using Vunda::makeNode;
using Vunda::Ptr;
using Vunda::String;

ResetKey const key(ResetType::chip, "Chip1", "Slice1");
ResetKey const otherKey(ResetType::chip, "Chip1", "Slice2");

// What a directory announces: field, key, and whether there is a value.
struct Announcement {
  std::uint16_t field;
  ResetKey key;
  bool removed;
  bool operator==(Announcement const&) const = default;
};

struct Listener {
  explicit Listener(Vunda::Node const& node)
      : slot(node, [this](CallbackSlot::Change const& change) {
          seen.push_back(
              {change.field.value(), *static_cast<ResetKey const*>(change.key), !change.value});
        }) {}
  std::vector<Announcement> seen;
  CallbackSlot slot;
};

TEST(ResetEntry, KeepsItsKeyAndStartsWithoutRequest) {
  auto const entry = makeNode<ResetEntry>(key);
  EXPECT_EQ(entry->key(), key);
  EXPECT_TRUE(entry->resetCause().empty());
  EXPECT_EQ(entry->resetReason(), ResetReason::unspecified);
  EXPECT_EQ(entry->genTime(), Duration(0));
}

TEST(ResetEntry, AttributesAreWrittenAndAnnouncedOnChange) {
  auto const entry = makeNode<ResetEntry>(key);
  expectAttribute(
      *entry, ResetEntry::resetCauseField, String(), String("watchdog"),
      [](ResetEntry const& of) { return of.resetCause(); },
      [](ResetEntry& of, String const& value) { of.resetCauseIs(value); });
  expectAttribute(
      *entry, ResetEntry::resetReasonField, ResetReason::unspecified, static_cast<ResetReason>(77),
      [](ResetEntry const& of) { return of.resetReason(); },
      [](ResetEntry& of, ResetReason value) { of.resetReasonIs(value); });
  expectAttribute(
      *entry, ResetEntry::genTimeField, Duration(), Duration(5),
      [](ResetEntry const& of) { return of.genTime(); },
      [](ResetEntry& of, Duration value) { of.genTimeIs(value); });
}

TEST(ResetRequestDir, FindsNoRequestUnderAnAbsentKey) {
  auto const dir = makeNode<ResetRequestDir>("operator");
  EXPECT_EQ(dir->resetRequest(key), nullptr);
  dir->resetRequestIs(makeNode<ResetEntry>(key));
  EXPECT_EQ(dir->resetRequest(otherKey), nullptr);
}

TEST(ResetRequestDir, FindsTheSameRequestEveryTimeAndCountsIt) {
  auto const dir = makeNode<ResetRequestDir>("operator");
  auto const entry = makeNode<ResetEntry>(key);
  dir->resetRequestIs(entry);
  EXPECT_EQ(entry->useCount(), 2U);
  Ptr<ResetRequestDir const> const readOnly(dir);
  auto const found = readOnly->resetRequest(ResetKey(ResetType::chip, "Chip1", "Slice1"));
  EXPECT_EQ(found, entry);
  EXPECT_EQ(entry->useCount(), 3U);
  EXPECT_EQ(readOnly->resetRequest(key), found);
}

TEST(ResetRequestDir, AnnouncesInsertionReplacementAndRemoval) {
  auto const dir = makeNode<ResetRequestDir>("operator");
  Listener listener(*dir);
  dir->resetRequestIs(makeNode<ResetEntry>(key));
  auto const replacement = makeNode<ResetEntry>(key);
  dir->resetRequestIs(replacement);
  EXPECT_EQ(dir->resetRequest(key), replacement);
  dir->resetRequestDel(key);
  EXPECT_EQ(dir->resetRequest(key), nullptr);
  EXPECT_EQ(listener.seen,
            (std::vector<Announcement>{{258, key, false}, {258, key, false}, {258, key, true}}));
}

TEST(ResetRequestDir, AnnouncesTheVeryRequestAgain) {
  auto const dir = makeNode<ResetRequestDir>("operator");
  auto const entry = makeNode<ResetEntry>(key);
  dir->resetRequestIs(entry);
  Listener listener(*dir);
  dir->resetRequestIs(entry);
  EXPECT_EQ(listener.seen, (std::vector<Announcement>{{258, key, false}}));
  EXPECT_EQ(entry->useCount(), 2U);
}

TEST(ResetRequestDir, AnnouncesNoRemovalOfAnAbsentRequest) {
  auto const dir = makeNode<ResetRequestDir>("operator");
  Listener listener(*dir);
  dir->resetRequestDel(key);
  EXPECT_TRUE(listener.seen.empty());
}

TEST(ResetRequestDir, RefusesANullRequestAndStaysAsItWas) {
  auto const dir = makeNode<ResetRequestDir>("operator");
  Listener listener(*dir);
  EXPECT_THROW(dir->resetRequestIs(nullptr), Kesh::MutatorArgNullPointerException);
  EXPECT_TRUE(dir->resetRequest().empty());
  EXPECT_TRUE(listener.seen.empty());
}

TEST(ResetRequestDir, RemovesByAKeyThatGoesWithTheRequest) {
  auto const dir = makeNode<ResetRequestDir>("operator");
  dir->resetRequestIs(makeNode<ResetEntry>(key));
  Listener listener(*dir);
  dir->resetRequestDel(dir->resetRequest().iterator().value()->key());
  EXPECT_EQ(listener.seen, (std::vector<Announcement>{{258, key, true}}));
}

TEST(ResetRequestDir, ACallbackMayWithdrawTheRequestThatIsAnnounced) {
  auto const dir = makeNode<ResetRequestDir>("operator");
  Ptr<ResetEntry> entry = makeNode<ResetEntry>(key);
  CallbackSlot const withdrawer(*dir, [&](auto const& change) {
    if (!change.value) return;
    entry = nullptr;
    dir->resetRequestDel(key);
  });
  Listener later(*dir);
  dir->resetRequestIs(entry);
  EXPECT_EQ(later.seen, (std::vector<Announcement>{{258, key, true}, {258, key, false}}));
  EXPECT_TRUE(dir->resetRequest().empty());
}

TEST(ResetStatusDir, MakesARecordOnceAndAnnouncesIt) {
  auto const dir = makeNode<ResetStatusDir>("operator");
  Listener listener(*dir);
  auto const record = dir->resetStatusIs(key);
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(record->key(), key);
  EXPECT_EQ(dir->resetStatusIs(key), record);
  EXPECT_EQ(dir->resetStatus(key), record);
  EXPECT_EQ(listener.seen,
            (std::vector<Announcement>{{ResetStatusDir::resetStatusField.value(), key, false}}));
}

TEST(ResetStatusDir, KeepsOneRecordAKey) {
  auto const dir = makeNode<ResetStatusDir>("operator");
  auto const record = dir->resetStatusIs(key);
  EXPECT_NE(dir->resetStatusIs(otherKey), record);
  EXPECT_EQ(dir->resetStatus().size(), 2U);
}

TEST(ResetStatusDir, AnnouncesTheRemovalOfARecordOnce) {
  auto const dir = makeNode<ResetStatusDir>("operator");
  auto const record = dir->resetStatusIs(key);
  Listener listener(*dir);
  dir->resetStatusDel(record->key());
  dir->resetStatusDel(key);
  EXPECT_EQ(dir->resetStatus(key), nullptr);
  EXPECT_EQ(listener.seen,
            (std::vector<Announcement>{{ResetStatusDir::resetStatusField.value(), key, true}}));
  EXPECT_NE(dir->resetStatusIs(key), record);
}

TEST(ResetStatusDir, HandsTheRecordOutEvenWhenACallbackRemovesItAtOnce) {
  auto const dir = makeNode<ResetStatusDir>("operator");
  CallbackSlot const remover(*dir, [&](auto const& change) {
    if (change.value) dir->resetStatusDel(key);
  });
  auto const record = dir->resetStatusIs(key);
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(record->key(), key);
  EXPECT_EQ(record->useCount(), 1U);
}

TEST(ResetStatusDir, LeavesNothingBehindWhenMemoryRunsOut) {
  auto const dir = makeNode<ResetStatusDir>("operator");
  CallbackSlot const slot(*dir, [](auto const&) { ADD_FAILURE() << "announced"; });
  for (std::size_t nth : {0U, 1U}) {
    OruTest::FailingAllocation const failing(nth);
    EXPECT_THROW(dir->resetStatusIs(key), std::bad_alloc) << nth;
    EXPECT_TRUE(dir->resetStatus().empty());
  }
}

}  // namespace
