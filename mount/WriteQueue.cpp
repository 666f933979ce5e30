#include "mount/WriteQueue.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace Oru::Mount {

namespace {

using std::chrono::milliseconds;
constexpr milliseconds firstRetry{100};
constexpr milliseconds longestRetry{5000};

}  // namespace

WriteQueue::WriteQueue(EventLoop& loop, Backend& backend, ProblemList& problems)
    : loop_(loop), backend_(backend), problems_(problems) {}

void WriteQueue::put(TreePath const& value, std::string text) {
  wish({Backend::Kind::value, value}, true, std::move(text));
}
void WriteQueue::remove(TreePath const& value) { wish({Backend::Kind::value, value}, false, {}); }
void WriteQueue::makeDirectory(TreePath const& directory) {
  wish({Backend::Kind::directory, directory}, true, {});
}
void WriteQueue::removeDirectory(TreePath const& directory) {
  wish({Backend::Kind::directory, directory}, false, {});
}

std::string const* WriteQueue::pendingText(TreePath const& value) const {
  auto const at = wishes_.find({Backend::Kind::value, value});
  return at != wishes_.end() && at->second.present ? &at->second.text : nullptr;
}

void WriteQueue::wish(Place place, bool present, std::string text) {
  wishes_[std::move(place)] = {present, std::move(text), ++lastOrder_};
  if (!flush_) flush_ = loop_.endOfTurn([this] { flush(); });
}

// Whoever hears of a problem may wish again: what was wished meanwhile is newer than what failed.
bool WriteQueue::flush() {
  flush_.reset();
  Wishes wishes = std::exchange(wishes_, {});
  std::vector<Wishes::iterator> inOrder;
  for (auto at = wishes.begin(); at != wishes.end(); ++at) inOrder.push_back(at);
  std::ranges::sort(inOrder, {}, [](auto const& at) { return at->second.order; });
  for (auto const& at : inOrder)
    if (!carryOut(at->first, at->second)) wishes_.insert(wishes.extract(at));
  if (wishes_.empty())
    retryDelay_ = {};
  else
    tryAgainLater();
  return wishes_.empty();
}

bool WriteQueue::carryOut(Place const& place, Wish const& wish) {
  bool const isValue = place.kind == Backend::Kind::value;
  std::error_code error;
  if (isValue)
    error = wish.present ? backend_.put(place.path, wish.text) : backend_.remove(place.path);
  else
    error = wish.present ? backend_.makeDirectory(place.path)
                         : backend_.removeDirectory(place.path);
  auto const file = isValue ? place.path.valueText() : place.path.text();
  if (error)
    problems_.report(ProblemList::Activity::write, file, {}, error.message());
  else
    problems_.clear(ProblemList::Activity::write, file);
  return !error;
}

void WriteQueue::tryAgainLater() {
  if (retry_) return;
  retryDelay_ = std::clamp(retryDelay_ * 2, firstRetry, longestRetry);
  retry_ = loop_.timer(retryDelay_, [this] {
    retry_.reset();
    flush();
  });
}

}  // namespace Oru::Mount
