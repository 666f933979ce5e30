#include "runtime/kesh/Dir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "runtime/kesh/MutatorException.h"
#include "runtime/kesh/TypeRegistry.h"
#include "tests/support/CallbackSlot.h"
#include "tests/support/HeapProbe.h"

namespace {

using Kesh::Dir;
using Kesh::Entity;
using OruTest::CallbackSlot;
using testing::ElementsAre;
using testing::IsEmpty;
using Vunda::makeNode;
using Vunda::Ptr;
using Vunda::ptrCast;
using Vunda::String;

// An entity that tells where it is put.
class Plain : public Kesh::Typed<Plain, Entity> {
 public:
  static constexpr char const* typeName = "OruTest::Plain";
  using Typed::Typed;

  void handleParent(Ptr<Entity> const& parent) override {
    parents.push_back(parent ? parent->name() : String("none"));
    if (action) action();
  }
  std::vector<String> parents;
  std::function<void()> action;
};

class DirTest : public testing::Test {
 protected:
  DirTest() { Kesh::TypeRegistry::typeIs<Plain>(); }

  void note(CallbackSlot::Change const& change) {
    EXPECT_EQ(change.field, Dir::entityPtrField);
    String const& name = *static_cast<String const*>(change.key);
    notes_.push_back(std::string(name.data()) + (dir_->entityPtrHas(name) ? " is" : " gone"));
    EXPECT_EQ(change.value != nullptr, dir_->entityPtrHas(name));
    if (change.value) {
      EXPECT_EQ(*static_cast<Ptr<Entity> const*>(change.value), dir_->entityPtr(name));
    }
  }

  std::vector<std::string> namesVisited() const {
    std::vector<std::string> names;
    for (auto it = dir_->entityPtrIteratorConst(); it; ++it) names.emplace_back(it.name().data());
    return names;
  }

  Ptr<Dir> dir_ = makeNode<Dir>("config");
  std::vector<std::string> notes_;
  CallbackSlot slot_{*dir_, [this](auto const& change) { note(change); }};
};

TEST_F(DirTest, TheCollectionOfEntitiesHasField266) { EXPECT_EQ(Dir::entityPtrField.value(), 266); }

TEST_F(DirTest, CreatesAnEntityOfTheRegisteredTypeAndAnnouncesIt) {
  Ptr<Entity> const created = dir_->createEntity("OruTest::Plain", "a");
  ASSERT_TRUE(ptrCast<Plain>(created));
  EXPECT_EQ(created->name(), String("a"));
  EXPECT_EQ(dir_->entityPtr("a"), created);
  EXPECT_THAT(notes_, ElementsAre("a is"));
  EXPECT_THAT(ptrCast<Plain>(created)->parents, ElementsAre(String("config")));
}

TEST_F(DirTest, CreatingAnEntityThatExistsReturnsItAndAnnouncesNothing) {
  Ptr<Entity> const created = dir_->createEntity("OruTest::Plain", "a");
  notes_.clear();
  EXPECT_EQ(dir_->createEntity("OruTest::Plain", "a"), created);
  EXPECT_THAT(notes_, IsEmpty());
}

TEST_F(DirTest, CreatingOnANameHeldByAnotherTypeReturnsTheExistingEntity) {
  Ptr<Entity> const created = dir_->createEntity("OruTest::Plain", "a");
  notes_.clear();
  Ptr<Entity> const again = dir_->createEntity("Kesh::Dir", "a");
  EXPECT_EQ(again, created);
  EXPECT_EQ(ptrCast<Dir>(again), nullptr);
  EXPECT_EQ(dir_->createEntity("OruTest::NotRegistered", "a"), created);
  EXPECT_THAT(notes_, IsEmpty());
}

TEST_F(DirTest, CreatingAnUnregisteredTypeRaisesAnErrorThatNamesItAndChangesNothing) {
  try {
    dir_->createEntity("OruTest::NotRegistered", "a");
    FAIL();
  } catch (Kesh::UnknownTypeException const& raised) {
    EXPECT_STREQ(raised.what(),
                 "Kesh::Dir: no type is registered under the name \"OruTest::NotRegistered\" "
                 "(asked for entity \"a\")");
  }
  EXPECT_FALSE(dir_->entityPtrHas("a"));
  EXPECT_THAT(notes_, IsEmpty());
}

TEST_F(DirTest, LooksUpByName) {
  Ptr<Entity> const created = dir_->createEntity("OruTest::Plain", "a");
  EXPECT_TRUE(dir_->entityPtrHas("a"));
  EXPECT_FALSE(dir_->entityPtrHas("b"));
  EXPECT_EQ(dir_->entityPtr("b"), nullptr);
  EXPECT_EQ(dir_->entityPtrCount(), 1U);
  Dir const& readOnly = *dir_;
  Ptr<Entity const> const read = readOnly.entityPtr("a");
  EXPECT_EQ(read, created);
  EXPECT_EQ(created->useCount(), 3U) << "lookups hand out counted pointers";
}

TEST_F(DirTest, AnExistingEntityIsInsertedUnderItsName) {
  auto const entity = makeNode<Plain>("a");
  dir_->entityIs(entity);
  EXPECT_EQ(dir_->entityPtr("a"), entity);
  EXPECT_THAT(notes_, ElementsAre("a is"));
  EXPECT_THAT(entity->parents, ElementsAre(String("config")));
}

TEST_F(DirTest, InsertingTheVeryObjectThatIsThereAnnouncesItAgain) {
  auto const entity = makeNode<Plain>("a");
  dir_->entityIs(entity);
  dir_->entityIs(entity);
  EXPECT_THAT(notes_, ElementsAre("a is", "a is"));
  EXPECT_THAT(entity->parents, ElementsAre(String("config"))) << "it was not put in twice";
  EXPECT_EQ(entity->useCount(), 2U);
}

TEST_F(DirTest, InsertingReplacesAnotherEntityOfThatNameInItsPlace) {
  auto const first = makeNode<Plain>("a");
  auto const second = makeNode<Plain>("a");
  dir_->entityIs(first);
  dir_->createEntity("Kesh::Dir", "b");
  notes_.clear();
  dir_->entityIs(second);
  EXPECT_EQ(dir_->entityPtr("a"), second);
  EXPECT_EQ(first->useCount(), 1U);
  EXPECT_THAT(notes_, ElementsAre("a is"));
  EXPECT_THAT(namesVisited(), ElementsAre("a", "b"));
  EXPECT_THAT(first->parents, ElementsAre(String("config"), String("none")));
  EXPECT_THAT(second->parents, ElementsAre(String("config")));
}

TEST_F(DirTest, InsertingNullRaisesAndChangesNothing) {
  EXPECT_THROW(dir_->entityIs(nullptr), Kesh::MutatorArgNullPointerException);
  EXPECT_THAT(notes_, IsEmpty());
  EXPECT_EQ(dir_->entityPtrCount(), 0U);
}

TEST_F(DirTest, DeletingReturnsTheEntityAndAnnouncesItsEnd) {
  auto const entity = makeNode<Plain>("a");
  dir_->entityIs(entity);
  notes_.clear();
  {
    Ptr<Entity> const removed = dir_->deleteEntity("a");
    EXPECT_EQ(removed, entity);
    EXPECT_EQ(entity->useCount(), 2U);
  }
  EXPECT_EQ(entity->useCount(), 1U);
  EXPECT_FALSE(dir_->entityPtrHas("a"));
  EXPECT_THAT(notes_, ElementsAre("a gone"));
  EXPECT_THAT(entity->parents, ElementsAre(String("config"), String("none")));
}

TEST_F(DirTest, DeletingAnAbsentNameReturnsNullAndAnnouncesNothing) {
  EXPECT_EQ(dir_->deleteEntity("a"), nullptr);
  EXPECT_THAT(notes_, IsEmpty());
}

TEST_F(DirTest, TheNameOfTheEntityItselfMayNameItsDeletion) {
  dir_->createEntity("OruTest::Plain", "a name that lives in the entity");
  notes_.clear();
  dir_->deleteEntity(dir_->entityPtr("a name that lives in the entity")->name());
  EXPECT_THAT(notes_, ElementsAre("a name that lives in the entity gone"));
}

TEST_F(DirTest, TheEntityHearsOfItsDirectoryBeforeTheChangeIsAnnounced) {
  auto const entity = makeNode<Plain>("a");
  std::size_t announcedThen = 99;
  bool thereThen = false;
  entity->action = [&] {
    announcedThen = notes_.size();
    thereThen = dir_->entityPtrHas("a");
  };
  dir_->entityIs(entity);
  EXPECT_EQ(announcedThen, 0U);
  EXPECT_TRUE(thereThen);
  dir_->deleteEntity("a");
  EXPECT_EQ(announcedThen, 1U);
  EXPECT_FALSE(thereThen);
}

TEST_F(DirTest, IteratesNamesAndEntitiesInOrderOfInsertion) {
  for (char const* name : {"c", "a", "b"}) dir_->createEntity("OruTest::Plain", name);
  EXPECT_THAT(namesVisited(), ElementsAre("c", "a", "b"));
  for (auto it = dir_->entityPtrIterator(); it; ++it) EXPECT_EQ(it.entity()->name(), it.name());
}

TEST_F(DirTest, DeletingTheCurrentEntityAndOthersDisturbsNoIteration) {
  for (char const* name : {"a", "b", "c", "d"}) dir_->createEntity("OruTest::Plain", name);
  std::vector<std::string> visited;
  for (auto it = dir_->entityPtrIterator(); it; ++it) {
    visited.emplace_back(it.name().data());
    if (it.name() != String("b") || visited.size() > 2) continue;
    dir_->deleteEntity("a");
    dir_->deleteEntity("b");
    dir_->deleteEntity("c");
    EXPECT_EQ(it.entity(), nullptr);
    EXPECT_EQ(it.name(), String("b"));
    dir_->createEntity("OruTest::Plain", "b");
    EXPECT_EQ(it.entity(), nullptr);
  }
  EXPECT_THAT(visited, ElementsAre("a", "b", "d", "b"));
}

TEST_F(DirTest, AnIterationReadsAReplacedEntityAsTheNewOne) {
  dir_->entityIs(makeNode<Plain>("a"));
  auto it = dir_->entityPtrIteratorConst();
  auto const second = makeNode<Plain>("a");
  dir_->entityIs(second);
  EXPECT_EQ(it.entity(), second);
}

TEST_F(DirTest, MayBeChangedFromWithinANotification) {
  CallbackSlot const changing(*dir_, [this](auto const& change) {
    String const name = *static_cast<String const*>(change.key);
    if (name == String("a") && change.value) {
      dir_->createEntity("OruTest::Plain", "b");
      dir_->deleteEntity("a");
    }
  });
  Ptr<Entity> const created = dir_->createEntity("OruTest::Plain", "a");
  EXPECT_EQ(created->useCount(), 1U) << "created and deleted at once, and still returned";
  EXPECT_THAT(notes_, ElementsAre("a is", "b is", "a gone"));
  EXPECT_THAT(namesVisited(), ElementsAre("b"));
}

TEST_F(DirTest, WhatTheCallerPassedMayChangeDuringTheNotification) {
  Ptr<Entity> given = makeNode<Plain>("a");
  String name("a");
  CallbackSlot const changing(*dir_, [&](auto const&) {
    given = nullptr;
    name = String("another");
  });
  std::vector<bool> told;
  CallbackSlot const last(*dir_, [&](auto const& change) {
    told.push_back(*static_cast<String const*>(change.key) == String("a"));
    if (change.value) told.push_back(*static_cast<Ptr<Entity> const*>(change.value) != nullptr);
  });
  dir_->entityIs(given);
  dir_->deleteEntity(name = String("a"));
  EXPECT_THAT(told, ElementsAre(true, true, true));
}

TEST_F(DirTest, AFailedAllocationCreatesNothingAndAnnouncesNothing) {
  String const name("a name");
  slot_.leave();
  int announced = 0;
  CallbackSlot const counting(*dir_, [&announced](auto const&) { ++announced; });
  bool failed = true;
  for (std::size_t nth = 0; failed; ++nth) {
    OruTest::FailingAllocation const failing(nth);
    try {
      dir_->createEntity("Kesh::Dir", name);
      failed = false;
    } catch (std::bad_alloc const&) {
      ASSERT_FALSE(dir_->entityPtrHas(name)) << nth;
      ASSERT_EQ(announced, 0) << nth;
      ASSERT_EQ(Dir::typeInfo().liveCount(), 1U) << nth;
    }
    ASSERT_LT(nth, 20U);
  }
  EXPECT_EQ(announced, 1);
}

TEST(Dir, AnEntityThatGoesWithItsDirectoryDoesNotFindItselfThere) {
  struct Looking : Entity {
    explicit Looking(Dir& dir) : Entity("looking"), dir_(dir) {}
    ~Looking() override { EXPECT_EQ(dir_.entityPtr("looking"), nullptr); }
    Dir& dir_;
  };
  auto const dir = makeNode<Dir>("dir");
  dir->entityIs(makeNode<Looking>(*dir));
}

// --- the end of large trees ---------------------------------------------------------------------

TEST(DirTree, ADeepTreeGoesWithoutUsingUpTheStack) {
  Ptr<Dir> root = makeNode<Dir>("root");
  Ptr<Dir> at = root;
  for (int depth = 0; depth < 100000; ++depth) {
    auto const inner = makeNode<Dir>("inner");
    at->entityIs(inner);
    at = inner;
  }
  at = nullptr;
  root = nullptr;
  EXPECT_EQ(Dir::typeInfo().liveCount(), 0U);
}

TEST(DirTree, AWideTreeGoesWhole) {
  Ptr<Dir> root = makeNode<Dir>("root");
  for (int i = 0; i < 100000; ++i) root->entityIs(makeNode<Dir>(String(std::to_string(i).c_str())));
  EXPECT_EQ(Dir::typeInfo().liveCount(), 100001U);
  root = nullptr;
  EXPECT_EQ(Dir::typeInfo().liveCount(), 0U);
}

TEST(DirTree, DeepInAllItsBranches) {
  Ptr<Dir> root = makeNode<Dir>("root");
  for (int branch = 0; branch < 10; ++branch) {
    Ptr<Dir> at = root;
    for (int depth = 0; depth < 5000; ++depth) {
      at = ptrCast<Dir>(at->createEntity(
          "Kesh::Dir", depth == 0 ? String(std::to_string(branch).c_str()) : "in"));
    }
  }
  Ptr<Dir> const kept = ptrCast<Dir>(root->entityPtr("3"));
  root = nullptr;
  EXPECT_EQ(Dir::typeInfo().liveCount(), 5000U) << "a branch that is held stays whole";
  EXPECT_EQ(kept->entityPtrCount(), 1U);
}

TEST(DirTree, ADirectoryThatIsDeletedIsGoneAtOnce) {
  auto const root = makeNode<Dir>("root");
  root->createEntity("Kesh::Dir", "a");
  root->deleteEntity("a");
  EXPECT_EQ(Dir::typeInfo().liveCount(), 1U);
}

}  // namespace
