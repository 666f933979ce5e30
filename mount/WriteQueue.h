#pragma once

#include <chrono>
#include <map>
#include <cstdint>
#include <string>

#include "mount/Backend.h"
#include "mount/EventLoop.h"
#include "mount/ProblemList.h"

namespace Oru::Mount {

// What a program wants to stand in the tree, on its way there. Wishes of one turn of the loop are carried out together at
// its end. The last wish for a place counts, so each place is written at most once, and the order is that of the last
// wishes. What fails is reported and tried again with back-off until it succeeds or is wished otherwise.
class WriteQueue {
 public:
  WriteQueue(EventLoop& loop, Backend& backend, ProblemList& problems);

  void put(TreePath const& value, std::string text);
  void remove(TreePath const& value);
  void makeDirectory(TreePath const& directory);
  void removeDirectory(TreePath const& directory);

  // Carries out now what is wished, without waiting for the end of the turn. Returns whether all of it succeeded.
  bool flush();
  bool empty() const noexcept { return wishes_.empty(); }
  // The text on its way to a value: what will stand there; nothing when no put of it is pending.
  std::string const* pendingText(TreePath const& value) const;

 private:
  struct Place {
    Backend::Kind kind;
    TreePath path;
    auto operator<=>(Place const&) const = default;
  };
  struct Wish {
    bool present = false;
    std::string text;
    std::uint64_t order = 0;
  };

  void wish(Place place, bool present, std::string text);
  bool carryOut(Place const& place, Wish const& wish);
  void tryAgainLater();

  EventLoop& loop_;
  Backend& backend_;
  ProblemList& problems_;
  using Wishes = std::map<Place, Wish>;
  Wishes wishes_;
  std::uint64_t lastOrder_ = 0;
  EventSource flush_;
  EventSource retry_;
  std::chrono::milliseconds retryDelay_{0};
};

}  // namespace Oru::Mount
