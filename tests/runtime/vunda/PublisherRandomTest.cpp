// Random subscriptions, removals and nested announcements, from outside and from callbacks, against
// a model.

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "runtime/vunda/Publisher.h"
#include "tests/runtime/vunda/SampleNodes.h"
#include "tests/support/CallbackSlot.h"

namespace {

using OruTest::Announcer;
using OruTest::CallbackSlot;

constexpr std::size_t slotCount = 9;
constexpr std::size_t deepest = 4;

struct Step {
  unsigned kind;
  std::size_t slot;
};
std::ostream& operator<<(std::ostream& out, Step const& step) {
  return out << "{" << step.kind << "," << step.slot << "}";
}

// What must happen: the registrations in order, each with a number of its own, and for each
// delivery under way the registrations that it has still to call.
class Model {
 public:
  void subscribe(std::size_t slot) { order_.push_back({slot, ++latest_}); }
  void unsubscribe(std::size_t slot) {
    std::erase_if(order_, [slot](Registration const& r) { return r.slot == slot; });
  }
  std::size_t size() const { return order_.size(); }
  std::size_t depth() const { return deliveries_.size(); }

  void begin() { deliveries_.push_back(order_); }
  // The slot that must be called next by the innermost delivery.
  std::optional<std::size_t> next() {
    auto& rest = deliveries_.back();
    while (!rest.empty()) {
      Registration const first = rest.front();
      rest.erase(rest.begin());
      if (std::find(order_.begin(), order_.end(), first) != order_.end()) return first.slot;
    }
    return std::nullopt;
  }
  void end() { deliveries_.pop_back(); }

 private:
  struct Registration {
    std::size_t slot;
    std::uint64_t number;
    bool operator==(Registration const&) const = default;
  };
  std::vector<Registration> order_;
  std::vector<std::vector<Registration>> deliveries_;
  std::uint64_t latest_ = 0;
};

class Run {
 public:
  explicit Run(std::vector<Step> steps) : steps_(std::move(steps)) {
    for (std::size_t slot = 0; slot < slotCount; ++slot) {
      slots_[slot] = std::make_unique<CallbackSlot>([this, slot](auto const&) { called(slot); });
    }
  }

  // Empty when all went as the model says.
  std::string const& play() {
    while (next_ < steps_.size() && complaint_.empty()) step();
    return complaint_;
  }

 private:
  void step() {
    Step const now = steps_[next_++];
    CallbackSlot& slot = *slots_[now.slot];
    if (now.kind < 3 && !slot.subscribed()) {
      model_.subscribe(now.slot);
      slot.listenTo(*node_);
    } else if (now.kind < 6) {
      model_.unsubscribe(now.slot);
      slot.leave();
    } else if (model_.depth() < deepest) {
      model_.begin();
      node_->announce();
      expect(!model_.next(), "a subscriber was not called");
      model_.end();
    }
    expect(model_.size() == node_->publisher()->subscriberCount(), "the count is wrong");
  }

  void called(std::size_t slot) {
    expect(model_.next() == slot, "the wrong subscriber was called");
    if (next_ < steps_.size()) step();
    if (next_ < steps_.size() && steps_[next_].slot % 2 == 0) step();
  }

  void expect(bool fulfilled, char const* complaint) {
    if (!fulfilled && complaint_.empty())
      complaint_ = complaint + (" at step " + std::to_string(next_));
  }

  std::vector<Step> const steps_;
  std::size_t next_ = 0;
  Model model_;
  std::string complaint_;
  Vunda::Ptr<Announcer> const node_ = Vunda::makeNode<Announcer>();
  std::array<std::unique_ptr<CallbackSlot>, slotCount> slots_;
};

rc::Gen<Step> anyStep() {
  return rc::gen::construct<Step>(rc::gen::inRange(0U, 9U),
                                  rc::gen::inRange<std::size_t>(0, slotCount));
}

RC_GTEST_PROP(PublisherRandom, DeliversAsTheModelSays, ()) {
  auto const steps = *rc::gen::scale(5, rc::gen::container<std::vector<Step>>(anyStep()));
  Run run(steps);
  RC_ASSERT(run.play() == "");
}

}  // namespace
