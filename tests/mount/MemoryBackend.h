#pragma once

#include <algorithm>
#include <cerrno>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "mount/Backend.h"
#include "mount/EventLoop.h"

namespace OruTest {

// A state tree in memory. Tests write to it as other programs would (others*), make its operations
// fail, and keep its watches from telling.
class MemoryBackend final : public Oru::Mount::Backend {
 public:
  using TreePath = Oru::Mount::TreePath;

  explicit MemoryBackend(Oru::Mount::EventLoop& loop) : loop_(loop) {}

  // What other programs do. Watches tell it at the end of the turn, unless they are deaf.
  void othersPut(TreePath const& value, std::string const& text) {
    makeParents(value);
    values_[value] = text;
    tell({value, Kind::value, false});
  }
  void othersRemove(TreePath const& value) {
    values_.erase(value);
    tell({value, Kind::value, false});
  }
  void othersMakeDirectory(TreePath const& directory) {
    makeParents(directory / "x");
    tell({directory, Kind::directory, false});
  }
  void othersRemoveDirectory(TreePath const& directory) {
    erase(directory);
    tell({directory, Kind::directory, true});
  }
  // Removed and made again before anybody looks.
  void othersReplaceDirectory(TreePath const& directory) {
    erase(directory);
    makeParents(directory / "x");
    tell({directory, Kind::directory, true});
  }
  void refuse(TreePath const& value, std::string const& reason) {
    refused_[value] = reason;
    tell({value, Kind::value, false});
  }
  void refuseNoMore(TreePath const& value) {
    refused_.erase(value);
    tell({value, Kind::value, false});
  }
  void strayIs(TreePath const& directory, Stray const& stray) {
    makeParents(directory / "x");
    strays_[directory] = {stray};
    tell({directory, Kind::directory, false});
  }

  // From now on every write fails with this error; 0: none does.
  void writesFailWith(int error) { writeError_ = error; }
  // From now on writes at this place or below it fail.
  void writesFailAt(TreePath const& place, int error = EIO) {
    failingPlace_ = place;
    failingPlaceError_ = error;
  }
  void readsFail(bool fail) { readsFail_ = fail; }
  void listsFail(TreePath const& directory, bool fail) {
    if (fail)
      failingLists_.insert(directory);
    else
      failingLists_.erase(directory);
  }
  void deafIs(bool deaf) { deaf_ = deaf; }
  // What a lost or overflowed watch means.
  void tellAll() {
    for (auto* watch : watches_) tell({watch->directory, Kind::directory, false});
  }

  std::string const* text(TreePath const& value) const {
    auto const at = values_.find(value);
    return at == values_.end() ? nullptr : &at->second;
  }
  bool hasDirectory(TreePath const& directory) const { return directories_.contains(directory); }
  // The places written since the last call, in order.
  std::vector<std::string> takeWrites() { return std::exchange(writes_, {}); }

  Listing list(TreePath const& directory) override {
    if (failingLists_.contains(directory))
      return {Listing::State::refused, {}, {}, "Input/output error", true};
    if (!directory.isRoot() && !directories_.contains(directory)) return {};
    Listing listing{Listing::State::present, {}, {}, {}, false};
    for (auto const& child : directories_)
      if (!child.isRoot() && child.parent() == directory)
        listing.members.push_back({child.leaf(), Kind::directory});
    for (auto const& [value, text] : values_)
      if (value.parent() == directory) listing.members.push_back({value.leaf(), Kind::value});
    if (strays_.contains(directory)) listing.strays = strays_[directory];
    return listing;
  }
  Reading read(TreePath const& value) override {
    if (readsFail_) return {Reading::State::refused, {}, "Input/output error", true};
    if (refused_.contains(value)) return {Reading::State::refused, {}, refused_[value], false};
    auto const* const found = text(value);
    return found ? Reading{Reading::State::present, *found, {}, false} : Reading{};
  }
  std::unique_ptr<Watch> watch(TreePath const& directory, Observer& observer) override {
    return std::make_unique<MemoryWatch>(*this, directory, observer);
  }
  std::error_code put(TreePath const& value, std::string_view text) override {
    if (auto const error = written(value, "put ")) return error;
    makeParents(value);
    values_[value] = text;
    return {};
  }
  std::error_code remove(TreePath const& value) override {
    if (auto const error = written(value, "remove ")) return error;
    values_.erase(value);
    return {};
  }
  std::error_code makeDirectory(TreePath const& directory) override {
    if (auto const error = written(directory, "make ")) return error;
    makeParents(directory / "x");
    return {};
  }
  std::error_code removeDirectory(TreePath const& directory) override {
    if (auto const error = written(directory, "clear ")) return error;
    erase(directory);
    return {};
  }

 private:
  struct MemoryWatch final : Watch {
    MemoryWatch(MemoryBackend& backend, TreePath watched, Observer& told)
        : owner(backend), directory(std::move(watched)), observer(told) {
      owner.watches_.push_back(this);
    }
    ~MemoryWatch() override { std::erase(owner.watches_, this); }

    MemoryBackend& owner;
    TreePath const directory;
    Observer& observer;
  };

  std::error_code written(TreePath const& place, char const* how) {
    int const error =
        failingPlace_ && place.isWithin(*failingPlace_) ? failingPlaceError_ : writeError_;
    if (error) return {error, std::generic_category()};
    writes_.push_back(how + place.text());
    return {};
  }
  void makeParents(TreePath place) {
    while (!place.isRoot()) {
      place = place.parent();
      if (!place.isRoot()) directories_.insert(place);
    }
  }
  void erase(TreePath const& directory) {
    std::erase_if(directories_, [&](auto const& path) { return path.isWithin(directory); });
    std::erase_if(values_, [&](auto const& entry) { return entry.first.isWithin(directory); });
  }
  void tell(Change const& change) {
    if (deaf_) return;
    changes_.push_back(change);
    if (delivery_) return;
    delivery_ = loop_.endOfTurn([this] {
      delivery_.reset();
      auto const changes = std::exchange(changes_, {});
      for (auto* watch : std::vector<MemoryWatch*>(watches_)) {
        std::vector<Change> mine;
        for (auto const& each : changes)
          if (each.path.isWithin(watch->directory)) mine.push_back(each);
        bool const stillWatches = std::ranges::find(watches_, watch) != watches_.end();
        if (!mine.empty() && stillWatches) watch->observer.changed(mine);
      }
    });
  }

  Oru::Mount::EventLoop& loop_;
  std::map<TreePath, std::string> values_;
  std::set<TreePath> directories_;
  std::map<TreePath, std::string> refused_;
  std::map<TreePath, std::vector<Stray>> strays_;
  std::vector<MemoryWatch*> watches_;  // in the order in which they began
  std::vector<Change> changes_;
  Oru::Mount::EventSource delivery_;
  std::vector<std::string> writes_;
  int writeError_ = 0;
  std::optional<TreePath> failingPlace_;
  int failingPlaceError_ = 0;
  bool readsFail_ = false;
  std::set<TreePath> failingLists_;
  bool deaf_ = false;
};

}  // namespace OruTest
