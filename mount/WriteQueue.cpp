#include "mount/WriteQueue.h"

#include <algorithm>
#include <climits>
#include <system_error>
#include <utility>
#include <vector>

namespace Oru::Mount {

namespace {

// What stands in the way at one place, or does not fit there, says nothing of any other.
bool concernsOnePlace(std::error_code error) {
  return error == std::errc::is_a_directory || error == std::errc::not_a_directory ||
         error == std::errc::too_many_symbolic_link_levels || error == std::errc::file_too_large;
}

}  // namespace

WriteQueue::WriteQueue(EventLoop& loop, Backend& backend, ProblemList& problems, Rank rank)
    : loop_(loop),
      backend_(backend),
      problems_(problems),
      rank_(std::move(rank)),
      retry_(loop, [this] { flush(); }) {}

std::string WriteQueue::Place::file() const {
  return kind == Backend::Kind::value ? path.valueText() : path.text();
}

void WriteQueue::put(TreePath const& value, std::string text) {
  wish(Backend::Kind::value, value,
       [this, value, text = std::move(text)] { return backend_.put(value, text); });
}

void WriteQueue::remove(TreePath const& value) {
  wish(Backend::Kind::value, value, [this, value] { return backend_.remove(value); });
}

void WriteQueue::makeDirectory(TreePath const& directory) {
  wish(Backend::Kind::directory, directory,
       [this, directory] { return backend_.makeDirectory(directory); });
}

void WriteQueue::removeDirectory(TreePath const& directory) {
  wish(Backend::Kind::directory, directory,
       [this, directory] { return backend_.removeDirectory(directory); });
}

void WriteQueue::wish(Backend::Kind kind, TreePath const& path, Action action) {
  int const rank = rank_ ? rank_(path) : 0;
  wishes_.insert_or_assign(Place{kind, path}, Wish{std::move(action), rank, ++lastOrder_});
  if (!flush_) flush_ = loop_.endOfTurn([this] { flush(); });
}

// Whoever hears of a problem may wish again: what was wished meanwhile is newer than what failed.
bool WriteQueue::flush() {
  flush_.reset();
  Wishes wishes = std::exchange(wishes_, {});
  std::vector<Wishes::iterator> inOrder;
  for (auto at = wishes.begin(); at != wishes.end(); ++at) inOrder.push_back(at);
  std::ranges::sort(inOrder, {},
                    [](auto const& at) { return std::pair(at->second.rank, at->second.order); });
  int failedRank = INT_MAX;
  for (auto const& at : inOrder) {
    int const rank = at->second.rank;
    if (rank <= failedRank) {
      auto const error = carryOut(at->first, at->second);
      if (!error) continue;
      if (!concernsOnePlace(error)) failedRank = rank;
    }
    wishes_.insert(wishes.extract(at));
  }
  if (wishes_.empty())
    retry_.settled();
  else if (!flush_)
    retry_.later();
  return wishes_.empty();
}

std::error_code WriteQueue::carryOut(Place const& place, Wish const& wish) {
  auto const error = wish.action();
  if (error)
    problems_.report(ProblemList::Activity::write, place.file(), {}, error.message());
  else
    problems_.clear(ProblemList::Activity::write, place.file());
  return error;
}

}  // namespace Oru::Mount
