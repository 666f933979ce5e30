#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <system_error>

#include "mount/Backend.h"
#include "mount/EventLoop.h"
#include "mount/ProblemList.h"
#include "mount/Retry.h"

namespace Oru::Mount {

// What a program wants to stand in the tree, on its way there. Wishes of one turn of the loop are
// carried out together at its end. The last wish for a place counts, so each place is written at
// most once. What fails is reported and tried again with back-off until it succeeds or is wished
// otherwise.
//
// Order: by rank, then by last wish. A wish of a higher rank is not carried out as long as one of a
// lower rank has failed, unless that lies in its own place alone (a directory where a file belongs).
class WriteQueue {
 public:
  using Rank = std::function<int(TreePath const&)>;
  // Carries a wish out; an error is reported and tried again.
  using Action = std::function<std::error_code()>;

  // Without `rank`, all places are of one rank.
  WriteQueue(EventLoop& loop, Backend& backend, ProblemList& problems, Rank rank = {});

  void put(TreePath const& value, std::string text);
  void remove(TreePath const& value);
  void makeDirectory(TreePath const& directory);
  void removeDirectory(TreePath const& directory);
  // The same by an action of the caller's, for a text that is to be made only when it is written.
  void wish(Backend::Kind kind, TreePath const& path, Action action);

  // Carries out now what is wished, without waiting for the end of the turn. Returns whether all of
  // it succeeded.
  bool flush();
  bool empty() const noexcept { return wishes_.empty(); }

 private:
  struct Place {
    Backend::Kind kind;
    TreePath path;
    auto operator<=>(Place const&) const = default;

    std::string file() const;
  };
  struct Wish {
    Action action;
    int rank = 0;
    std::uint64_t order = 0;
  };
  using Wishes = std::map<Place, Wish>;

  std::error_code carryOut(Place const& place, Wish const& wish);

  EventLoop& loop_;
  Backend& backend_;
  ProblemList& problems_;
  Rank const rank_;
  Wishes wishes_;
  std::uint64_t lastOrder_ = 0;
  EventSource flush_;
  Retry retry_;
};

}  // namespace Oru::Mount
