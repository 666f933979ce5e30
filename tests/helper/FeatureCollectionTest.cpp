#include "helper/FeatureCollection.h"

#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <string>
#include <vector>

#include "tests/support/CallbackSlot.h"
#include "tests/support/HeapProbe.h"

namespace {

using Oru::Central::FeatureCollection;
using Oru::Central::featureCollectionFactory;
using OruTest::CallbackSlot;
using Vunda::Ptr;
using Vunda::String;

// What a subscriber hears: "x true", "x false", "x gone", each with what it then reads in the
// collection.
class Listener {
 public:
  explicit Listener(FeatureCollection const& features)
      : slot_(features, [this, &features](CallbackSlot::Change const& change) {
          EXPECT_EQ(change.field, FeatureCollection::featureField);
          EXPECT_EQ(change.publisher, features.publisher());
          String const& name = *static_cast<String const*>(change.key);
          auto const* const value = static_cast<bool const*>(change.value);
          EXPECT_EQ(features.feature().has(name), value != nullptr);
          EXPECT_EQ(features.feature(name), value && *value) << "announced before it was written";
          heard_.push_back(std::string(name.view()) + (!value   ? " gone"
                                                       : *value ? " true"
                                                                : " false"));
        }) {}

  std::vector<std::string> const& heard() const { return heard_; }
  void leave() { slot_.leave(); }

 private:
  std::vector<std::string> heard_;
  CallbackSlot slot_;
};

using Heard = std::vector<std::string>;

std::vector<String> namesIn(FeatureCollection const& features) {
  std::vector<String> names;
  for (auto it = features.feature().iterator(); it; ++it) names.push_back(it.key());
  return names;
}

static_assert(FeatureCollection::featureField.value() == 130);

TEST(FeatureCollection, FactoryMakesAnEmptyCollectionWithOneUser) {
  auto const features = featureCollectionFactory();
  ASSERT_NE(features, nullptr);
  EXPECT_EQ(features->useCount(), 1U);
  EXPECT_TRUE(features->feature().empty());
  EXPECT_NE(featureCollectionFactory(), features);
  EXPECT_EQ(std::string(features->typeData()->name), "Oru::Central::FeatureCollection");
}

TEST(FeatureCollection, SettingTheSameValueTwiceNotifiesOnce) {
  auto const features = featureCollectionFactory();
  Listener const listener(*features);
  features->featureIs("x", true);
  features->featureIs("x", true);
  EXPECT_EQ(listener.heard(), (Heard{"x true"}));
}

TEST(FeatureCollection, SwitchingOffNotifiesAndKeepsTheEntry) {
  auto const features = featureCollectionFactory();
  Listener const listener(*features);
  features->featureIs("x", true);
  features->featureIs("x", false);
  EXPECT_EQ(listener.heard(), (Heard{"x true", "x false"}));
  EXPECT_TRUE(features->feature().has("x"));
  EXPECT_FALSE(features->feature("x"));
}

TEST(FeatureCollection, AFeatureInsertedAsOffIsAnnounced) {
  auto const features = featureCollectionFactory();
  Listener const listener(*features);
  features->featureIs("x", false);
  features->featureIs("x", false);
  EXPECT_EQ(listener.heard(), (Heard{"x false"}));
  EXPECT_TRUE(features->feature().has("x"));
}

TEST(FeatureCollection, DeletingNotifiesWithoutValue) {
  auto const features = featureCollectionFactory();
  features->featureIs("x", true);
  Listener const listener(*features);
  features->featureDel("x");
  EXPECT_EQ(listener.heard(), (Heard{"x gone"}));
  EXPECT_FALSE(features->feature().has("x"));
  EXPECT_FALSE(features->feature("x"));
}

TEST(FeatureCollection, DeletingAnAbsentNameIsSilent) {
  auto const features = featureCollectionFactory();
  features->featureIs("x", true);
  Listener const listener(*features);
  features->featureDel("y");
  EXPECT_EQ(listener.heard(), Heard());
  EXPECT_TRUE(features->feature().has("x"));
}

TEST(FeatureCollection, DeletingAllNotifiesEachInOrder) {
  auto const features = featureCollectionFactory();
  for (char const* name : {"b", "a", "c"}) features->featureIs(name, true);
  Listener const listener(*features);
  features->featureDelAll();
  EXPECT_EQ(listener.heard(), (Heard{"b gone", "a gone", "c gone"}));
  EXPECT_TRUE(features->feature().empty());
}

TEST(FeatureCollection, DeletingAllIsSilentWhenNobodySubscribes) {
  auto const features = featureCollectionFactory();
  Listener listener(*features);
  features->featureIs("a", true);
  features->featureIs("b", false);
  listener.leave();
  features->featureDelAll();
  EXPECT_TRUE(features->feature().empty());
  EXPECT_EQ(listener.heard(), (Heard{"a true", "b false"}));
  features->featureIs("a", true);
  EXPECT_TRUE(features->feature("a"));
}

TEST(FeatureCollection, DeletingAllOfAnEmptyCollectionIsSilent) {
  auto const features = featureCollectionFactory();
  Listener const listener(*features);
  features->featureDelAll();
  EXPECT_EQ(listener.heard(), Heard());
}

TEST(FeatureCollection, IsIteratedInTheOrderOfInsertion) {
  auto const features = featureCollectionFactory();
  for (char const* name : {"b", "a", "c"}) features->featureIs(name, true);
  features->featureIs("b", false);
  EXPECT_EQ(namesIn(*features), (std::vector<String>{"b", "a", "c"}));
}

TEST(FeatureCollection, WhatACallbackInsertsWhileAllAreDeletedStays) {
  auto const features = featureCollectionFactory();
  features->featureIs("a", true);
  features->featureIs("b", true);
  CallbackSlot const stubborn(*features, [&](auto const& change) {
    if (!change.value) features->featureIs("again", true);
  });
  features->featureDelAll();
  EXPECT_EQ(namesIn(*features), std::vector<String>{"again"});
}

TEST(FeatureCollection, ACallbackThatReinsertsEveryFeatureDoesNotGoOnForever) {
  auto const features = featureCollectionFactory();
  features->featureIs("a", true);
  features->featureIs("b", true);
  Listener const listener(*features);
  CallbackSlot const stubborn(*features, [&](auto const& change) {
    if (!change.value) features->featureIs(*static_cast<String const*>(change.key), true);
  });
  features->featureDelAll();
  EXPECT_EQ(listener.heard(), (Heard{"a gone", "a true", "b gone", "b true"}));
  EXPECT_EQ(namesIn(*features), (std::vector<String>{"a", "b"}));
}

TEST(FeatureCollection, AFeatureThatACallbackDeletesMeanwhileIsAnnouncedOnce) {
  auto const features = featureCollectionFactory();
  for (char const* name : {"a", "b", "c"}) features->featureIs(name, true);
  Listener const listener(*features);
  CallbackSlot const other(*features, [&](auto const&) { features->featureDel("c"); });
  features->featureDelAll();
  EXPECT_EQ(listener.heard(), (Heard{"a gone", "c gone", "b gone"}));
}

TEST(FeatureCollection, ACallbackMayDropTheLastPointerToTheCollection) {
  Ptr<FeatureCollection> features = featureCollectionFactory();
  features->featureIs("a", true);
  features->featureIs("b", true);
  FeatureCollection& plain = *features;
  std::unique_ptr<CallbackSlot> slot;
  slot = std::make_unique<CallbackSlot>(plain, [&](auto const&) {
    slot->leave();
    features = nullptr;
  });
  plain.featureDelAll();
  EXPECT_EQ(features, nullptr);
}

TEST(FeatureCollection, AFeatureMayBeNamedByItsOwnEntry) {
  auto const features = featureCollectionFactory();
  features->featureIs("a", true);
  CallbackSlot const remover(*features, [&](auto const& change) {
    if (change.value) features->featureDel("a");
  });
  std::vector<String> later;
  CallbackSlot const reader(*features, [&](auto const& change) {
    later.push_back(*static_cast<String const*>(change.key));
  });
  String const& inCollection = features->feature().iterator().key();
  features->featureIs(inCollection, false);
  EXPECT_EQ(later, (std::vector<String>{"a", "a"}));
  EXPECT_TRUE(features->feature().empty());
}

TEST(FeatureCollection, SubscriberAddedDuringAnAnnouncementHearsOnlyTheNext) {
  auto const features = featureCollectionFactory();
  std::unique_ptr<Listener> late;
  CallbackSlot const adder(*features, [&](auto const&) {
    if (!late) late = std::make_unique<Listener>(*features);
  });
  features->featureIs("a", true);
  EXPECT_EQ(late->heard(), Heard());
  features->featureIs("b", true);
  EXPECT_EQ(late->heard(), (Heard{"b true"}));
}

TEST(FeatureCollection, AFailedInsertionChangesAndAnnouncesNothing) {
  auto const features = featureCollectionFactory();
  Listener const listener(*features);
  String const name("a");
  {
    OruTest::FailingAllocation const failing(0);
    EXPECT_THROW(features->featureIs(name, true), std::bad_alloc);
  }
  EXPECT_TRUE(features->feature().empty());
  EXPECT_EQ(listener.heard(), Heard());
}

}  // namespace
