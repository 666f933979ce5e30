#include "runtime/kesh/Entity.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "runtime/kesh/HashMap2018.h"
#include "runtime/vunda/Duration.h"
#include "tests/support/CallbackSlot.h"
#include "tests/support/VirtualSlot.h"

namespace {

using Kesh::Entity;
using OruTest::CallbackSlot;
using testing::ElementsAre;
using testing::IsEmpty;
using Vunda::Duration;
using Vunda::FieldId;
using Vunda::makeNode;
using Vunda::Ptr;
using Vunda::String;

struct HN_Feature;

// An entity with one attribute and one keyed member.
class Station : public Kesh::Typed<Station, Entity> {
 public:
  static constexpr char const* typeName = "OruTest::Station";
  static constexpr FieldId genTimeField{260};
  static constexpr FieldId featureField{261};
  using Features = Kesh::HashMap2018<HN_Feature, String, bool>;

  using Typed::Typed;

  Duration genTime() const { return genTime_; }
  void genTimeIs(Duration time) { publisher_.attributeIs(genTimeField, genTime_, time); }
  Features const& feature() const { return feature_; }
  void featureIs(String const& name, bool enabled) {
    publisher_.memberIs(featureField, feature_, name, enabled);
  }
  void featureDel(String const& name) { publisher_.memberDel(featureField, feature_, name); }

 private:
  Duration genTime_;
  Features feature_;
};

class EntityTest : public testing::Test {
 protected:
  // What a subscriber is told, and what it reads from the entity at that moment.
  void note(CallbackSlot::Change const& change) {
    std::string text = std::to_string(change.field.value());
    if (change.field == Station::featureField) {
      String const& key = *static_cast<String const*>(change.key);
      bool const* const now = station_->feature().lookup(key);
      text += std::string(" ") + key.data();
      text += change.value ? (*static_cast<bool const*>(change.value) ? "=1" : "=0") : " gone";
      text += now ? (*now ? " reads 1" : " reads 0") : " reads none";
    } else {
      text += change.key ? " key" : "";
      text += " =" + std::to_string(static_cast<Duration const*>(change.value)->seconds());
      text += " reads " + std::to_string(station_->genTime().seconds());
    }
    notes_.push_back(text);
  }

  Ptr<Station> station_ = makeNode<Station>("Station1");
  std::vector<std::string> notes_;
  CallbackSlot slot_{*station_, [this](auto const& change) { note(change); }};
};

TEST_F(EntityTest, HasANameAPublisherAndAType) {
  EXPECT_EQ(station_->name(), String("Station1"));
  EXPECT_NE(station_->publisher(), nullptr);
  EXPECT_STREQ(station_->typeData()->name, "OruTest::Station");
  EXPECT_EQ(station_->typeData(), &Station::typeInfo());
}

TEST_F(EntityTest, AMutatorFinishesItsWriteBeforeItAnnounces) {
  station_->genTimeIs(Duration(5));
  station_->featureIs("a", true);
  EXPECT_THAT(notes_, ElementsAre("260 =5.000000 reads 5.000000", "261 a=1 reads 1"));
}

TEST_F(EntityTest, AnAttributeGivenTheValueItHoldsIsNeitherWrittenNorAnnounced) {
  station_->genTimeIs(Duration(0));
  station_->genTimeIs(Duration(-0.0));
  EXPECT_THAT(notes_, IsEmpty());
  EXPECT_FALSE(std::signbit(station_->genTime().seconds())) << "an equal value was written";
  station_->genTimeIs(Duration(5));
  station_->genTimeIs(Duration(5));
  EXPECT_EQ(notes_.size(), 1U);
}

TEST_F(EntityTest, NanIsAlwaysAnnounced) {
  Duration const nan(std::numeric_limits<double>::quiet_NaN());
  station_->genTimeIs(nan);
  station_->genTimeIs(nan);
  EXPECT_EQ(notes_.size(), 2U);
}

TEST_F(EntityTest, AFirstInsertionIsAnnouncedWhateverTheValue) {
  station_->featureIs("a", false);
  EXPECT_THAT(notes_, ElementsAre("261 a=0 reads 0"));
}

TEST_F(EntityTest, AMemberGivenTheValueItHoldsIsNotAnnounced) {
  station_->featureIs("a", true);
  station_->featureIs("a", true);
  station_->featureIs("a", false);
  EXPECT_THAT(notes_, ElementsAre("261 a=1 reads 1", "261 a=0 reads 0"));
}

TEST_F(EntityTest, ARemovalIsAnnouncedOnceTheMemberIsGone) {
  station_->featureIs("a", true);
  notes_.clear();
  station_->featureDel("a");
  station_->featureDel("a");
  EXPECT_THAT(notes_, ElementsAre("261 a gone reads none"));
}

TEST_F(EntityTest, TheKeyOfAMemberMayNameItsRemoval) {
  station_->featureIs("key of the member itself", true);
  notes_.clear();
  station_->featureDel(station_->feature().iterator().currNodeNonStale()->key());
  EXPECT_THAT(notes_, ElementsAre("261 key of the member itself gone reads none"));
}

TEST_F(EntityTest, ACallbackMayChangeWhatTheCallerNamedTheMemberBy) {
  String name("a");
  CallbackSlot const renaming(*station_, [&](auto const&) { name = "another"; });
  std::vector<String> told;
  CallbackSlot const last(*station_, [&](auto const& change) {
    told.push_back(*static_cast<String const*>(change.key));
  });
  station_->featureIs(name, true);
  station_->featureDel(name = "a");
  EXPECT_THAT(told, ElementsAre(String("a"), String("a")));
}

TEST_F(EntityTest, ANestedChangeIsAnnouncedWholeBeforeTheOuterOneGoesOn) {
  CallbackSlot const nesting(*station_, [this](auto const& change) {
    if (*static_cast<Duration const*>(change.value) != Duration(5)) return;
    station_->genTimeIs(Duration(6));
    notes_.emplace_back("nested done");
  });
  std::vector<double> values;
  CallbackSlot const last(*station_, [&](auto const& change) {
    values.push_back(static_cast<Duration const*>(change.value)->seconds());
  });
  station_->genTimeIs(Duration(5));
  EXPECT_THAT(notes_, ElementsAre("260 =5.000000 reads 5.000000", "260 =6.000000 reads 6.000000",
                                  "nested done"));
  EXPECT_THAT(values, ElementsAre(6, 6)) << "an attribute's announcement shows its present value";
}

#if defined(__x86_64__)
TEST(Entity, OperationsStandInTheirSlots) {
  using OruTest::slotOf;
  EXPECT_EQ(slotOf(&Entity::lastUserGone), 2U);
  EXPECT_EQ(slotOf(&Entity::publisher), 3U);
  EXPECT_EQ(slotOf(&Entity::typeData), 4U);
  EXPECT_EQ(slotOf(&Entity::handleParent), 5U);
}
#endif

TEST(Entity, OutlivesTheMutatorWhenACallbackDropsIt) {
  Ptr<Station> station = makeNode<Station>("last");
  Station* const raw = station.ptr();
  CallbackSlot slot([&](auto const&) {
    slot.leave();
    station = nullptr;
  });
  slot.listenTo(*station);
  raw->genTimeIs(Duration(1));
  EXPECT_EQ(Station::typeInfo().liveCount(), 0U);
}

}  // namespace
