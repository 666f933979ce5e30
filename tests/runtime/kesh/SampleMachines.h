#pragma once

#include <functional>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

#include "runtime/kesh/Dir.h"
#include "runtime/kesh/StateMachine.h"

namespace OruTest {

using Vunda::Ptr;
using Vunda::String;

// What happened in the sample machines, in order, and what shall happen at which point of them. A
// point is named "<machine> <event>", as it appears in `events`.
struct Story {
  std::vector<std::string> events;
  std::string failAt;
  std::function<void(std::string const&)> onEvent;

  void tell(std::string const& event) {
    events.push_back(event);
    if (onEvent) onEvent(event);
    if (event == failAt) throw std::runtime_error(event);
  }
};

class RootSm;

// A machine that a RootSm owns: watches one directory.
class ItemSm : public Kesh::StateMachine<ItemSm> {
 public:
  static constexpr char const* typeName = "OruTest::ItemSm";

  static Ptr<ItemSm> ItemSmIs(RootSm* parent, Story& story, String const& name,
                              Ptr<Kesh::Dir> const& dir) {
    return created(Vunda::makeNode<ItemSm>(parent, story, name, dir));
  }
  ItemSm(RootSm* parent, Story& story, String const& name, Ptr<Kesh::Dir> const& dir)
      : parent_(parent), story_(story), name_(name), dir_(*this, dir, &dirDispatch) {
    subscribeAndRun([this] { tell("initial"); });
  }
  ~ItemSm() override {
    deactivate([this] { tell(hasNotificationActive() ? "destroyed while active" : "destroyed"); });
  }

  RootSm* parentSm() const { return parent_; }
  String const& name() const { return name_; }
  Ptr<Kesh::Dir> const& dir() const { return dir_.ptr(); }
  bool subscribed() const { return dir_.subscribed(); }

  auto watched() { return std::tie(dir_); }
  auto children() { return std::tie(); }

 private:
  static void dirDispatch(Vunda::Publisher*, Vunda::Subscriber* slot, Vunda::FieldId field,
                          void const* key, void const*) noexcept {
    dispatch(&ItemSm::dir_, slot, field == Kesh::Dir::entityPtrField, [key](ItemSm& self) {
      self.tell("sees " + std::string(static_cast<String const*>(key)->view()));
    });
  }
  void tell(std::string const& event) { story_.tell(name_.data() + (" " + event)); }

  RootSm* parent_;
  Story& story_;
  String name_;
  Kesh::Watched<ItemSm, Kesh::Dir> dir_;
};

struct HN_Item;

// Watches two directories; owns one single item and items by name.
class RootSm : public Kesh::StateMachine<RootSm> {
 public:
  static constexpr char const* typeName = "OruTest::RootSm";
  using Items = Kesh::ChildCollection<HN_Item, String, ItemSm>;

  static Ptr<RootSm> RootSmIs(Story& story, Ptr<Kesh::Dir> const& first,
                              Ptr<Kesh::Dir> const& second) {
    return created(Vunda::makeNode<RootSm>(story, first, second));
  }
  RootSm(Story& story, Ptr<Kesh::Dir> const& first, Ptr<Kesh::Dir> const& second)
      : story_(story),
        first_(*this, first, &firstDispatch),
        second_(*this, second, &secondDispatch) {
    subscribeAndRun([this] {
      story_.tell("root initial");
      single_ = ItemSm::ItemSmIs(this, story_, "single", first_.ptr());
      itemIs("one", second_.ptr());
      itemIs("two", second_.ptr());
      story_.tell("root initialized");
    });
  }
  ~RootSm() override {
    deactivate([this] { story_.tell("root destroyed"); });
    single_ = nullptr;
    items_.parentGone();
  }

  // The instantiating mutator; null while that very item is being constructed.
  Ptr<ItemSm> itemIs(String const& name, Ptr<Kesh::Dir> const& dir) {
    if (Ptr<ItemSm> existing = items_.child(name)) {
      Kesh::sameArgument(typeName, "dir", existing->dir(), dir);
      return existing;
    }
    if (items_.underConstruction(name)) return nullptr;
    auto [item, disturbed] =
        items_.newChild(name, [&] { return ItemSm::ItemSmIs(this, story_, name, dir); });
    if (disturbed) story_.tell("root disturbed");
    return item;
  }

  Items& items() { return items_; }
  Ptr<ItemSm>& single() { return single_; }
  bool firstSubscribed() const { return first_.subscribed(); }
  bool secondSubscribed() const { return second_.subscribed(); }

  auto watched() { return std::tie(first_, second_); }
  auto children() { return std::tie(single_, items_); }

 private:
  static void firstDispatch(Vunda::Publisher*, Vunda::Subscriber* slot, Vunda::FieldId field,
                            void const* key, void const*) noexcept {
    dispatch(&RootSm::first_, slot, field == Kesh::Dir::entityPtrField, [key](RootSm& self) {
      self.story_.tell("root first " + std::string(static_cast<String const*>(key)->view()));
    });
  }
  static void secondDispatch(Vunda::Publisher*, Vunda::Subscriber* slot, Vunda::FieldId field,
                             void const* key, void const*) noexcept {
    dispatchToZombies(
        &RootSm::second_, slot, field == Kesh::Dir::entityPtrField, [key](RootSm& self) {
          self.story_.tell("root second " + std::string(static_cast<String const*>(key)->view()));
        });
  }

  Story& story_;
  Kesh::Watched<RootSm, Kesh::Dir> first_;
  Kesh::Watched<RootSm, Kesh::Dir> second_;
  Ptr<ItemSm> single_;
  Items items_;
};

}  // namespace OruTest
