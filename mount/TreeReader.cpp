#include "mount/TreeReader.h"

#include <algorithm>
#include <utility>

#include "mount/JsonError.h"

namespace Oru::Mount {

namespace {

using Activity = ProblemList::Activity;
using Kind = Backend::Kind;

// The members of an ordered collection of paths that lie below `directory`.
template <class Paths, class PathOf>
std::vector<TreePath> below(Paths const& paths, TreePath const& directory, PathOf pathOf) {
  std::vector<TreePath> found;
  for (auto at = paths.upper_bound(directory); at != paths.end() && pathOf(*at).isWithin(directory);
       ++at)
    found.push_back(pathOf(*at));
  return found;
}

std::map<std::string, std::string> straysOf(Backend::Listing const& listing) {
  std::map<std::string, std::string> strays;
  for (auto const& stray : listing.strays) strays.emplace(stray.fileName, stray.reason);
  return strays;
}

}  // namespace

TreeReader::TreeReader(EventLoop& loop, Backend& backend, ProblemList& problems, TreePath directory,
                       Shape shape, Consumer& consumer)
    : backend_(backend),
      problems_(problems),
      base_(std::move(directory)),
      shape_(shape),
      consumer_(consumer),
      retry_(loop, [this] { syncAgain(); }) {}

void TreeReader::start() {
  watch_ = backend_.watch(base_, *this);
  sync();
}

void TreeReader::lookAgain(TreePath const& value) {
  if (stands(value)) syncValue(value);
}

bool TreeReader::accepted(TreePath const& value) const {
  auto const known = values_.find(value);
  return known != values_.end() && known->second;
}

std::vector<TreePath> TreeReader::valuesIn(TreePath const& directory) const {
  return below(
      values_, directory, [](auto const& entry) -> auto& { return entry.first; });
}

void TreeReader::changed(std::vector<Backend::Change> const& changes) {
  for (auto const& [path, kind, wasGone] : changes) {
    if (wasGone && directories_.contains(path)) directoryGone(path);
    if (path == base_)
      sync();
    else if (kind == Kind::value && holdsValues(path.parent()))
      syncValue(path);
    else if (kind == Kind::directory && holdsValues(path) && syncedAsDirectory(path))
      continue;
    else if (path.parent() == base_)
      sync();
    else if (holdsValues(path.parent()))
      syncDirectory(path.parent());
  }
}

void TreeReader::rootLost(std::string const& reason) {
  problems_.report(Activity::watch, {}, {}, reason);
}
void TreeReader::rootBack() { problems_.clear(Activity::watch, {}); }
void TreeReader::watchLost(TreePath const& path, std::string const& reason) {
  problems_.report(Activity::watch, path.text(), {}, reason);
}
void TreeReader::watchBack(TreePath const& path) { problems_.clear(Activity::watch, path.text()); }

bool TreeReader::holdsValues(TreePath const& directory) const {
  return shape_ == Shape::values ? directory == base_
                                 : !directory.isRoot() && directory.parent() == base_;
}

// What is neither known nor a directory is found in the listing of the base.
bool TreeReader::syncedAsDirectory(TreePath const& path) {
  auto const listing = backend_.list(path);
  bool const isDirectory =
      directories_.contains(path) || listing.state == Backend::Listing::State::present;
  if (isDirectory) syncDirectory(path, listing);
  return isDirectory;
}

void TreeReader::sync() {
  auto const listing = backend_.list(base_);
  if (!readable(base_, listing)) return;
  if (listing.state == Backend::Listing::State::absent) consumer_.baseMissing();
  if (shape_ == Shape::values)
    syncValues(base_, listing);
  else
    syncDirectories(listing);
}

// One that cannot be read keeps what was known of it.
bool TreeReader::readable(TreePath const& directory, Backend::Listing const& listing) {
  failedIs(directory, listing.transient);
  bool const refused = listing.state == Backend::Listing::State::refused;
  if (refused)
    problems_.report(Activity::read, directory.text(), {}, listing.reason);
  else
    problems_.clear(Activity::read, directory.text());
  return !refused;
}

// What stands in the way (no descriptors, an input error) announces its end to nobody.
void TreeReader::failedIs(TreePath const& path, bool failed) {
  if (failed)
    failed_.insert(path);
  else
    failed_.erase(path);
  if (failed_.empty())
    retry_.settled();
  else
    retry_.later();
}

void TreeReader::syncAgain() {
  bool const inBase = failed_.contains(base_);
  std::set<TreePath> const failed = std::exchange(failed_, {});
  if (inBase) return sync();
  for (auto const& path : failed) {
    if (directories_.contains(path) || !holdsValues(path.parent()))
      syncDirectory(path);
    else
      syncValue(path);
  }
}

void TreeReader::syncDirectories(Backend::Listing const& listing) {
  auto strays = straysOf(listing);
  std::set<TreePath> present;
  for (auto const& [name, kind] : listing.members) {
    auto const path = base_ / name;
    if (kind == Kind::directory)
      present.insert(path);
    else
      strays.emplace(encodedName(name) + ".json", "is a file where a directory belongs");
  }
  for (auto const& directory : std::set<TreePath>(directories_)) {
    // What replaced it is no directory: refused, and the last good one stays.
    if (!present.contains(directory) && !strays.contains(encodedName(directory.leaf())))
      directoryGone(directory);
  }
  for (auto const& directory : consumer_.ownDirectories(base_)) {
    if (!present.contains(directory) && !strays.contains(encodedName(directory.leaf())))
      consumer_.directoryGone(directory);
  }
  straysAre(base_, std::move(strays));
  for (auto const& directory : present) syncDirectory(directory);
}

void TreeReader::syncDirectory(TreePath const& directory) {
  syncDirectory(directory, backend_.list(directory));
}

void TreeReader::syncDirectory(TreePath const& directory, Backend::Listing const& listing) {
  if (!readable(directory, listing)) return;
  if (listing.state == Backend::Listing::State::absent) return directoryGone(directory);
  bool const isNew = directories_.insert(directory).second;
  if (isNew) consumer_.directoryIs(directory);
  syncValues(directory, listing);
  if (isNew) consumer_.directoryRead(directory);
}

void TreeReader::syncValues(TreePath const& directory, Backend::Listing const& listing) {
  auto strays = straysOf(listing);
  std::set<TreePath> present;
  for (auto const& [name, kind] : listing.members) {
    if (kind == Kind::value)
      present.insert(directory / name);
    else
      strays.emplace(encodedName(name), "is a directory where a file belongs");
  }
  straysAre(directory, std::move(strays));
  for (auto const& value : valuesIn(directory))
    if (!present.contains(value)) valueGone(value);
  for (auto const& value : consumer_.ownValues(directory))
    if (!present.contains(value)) consumer_.valueGone(value);
  for (auto const& value : present) syncValue(value);
}

void TreeReader::syncValue(TreePath const& value) {
  auto const reading = backend_.read(value);
  if (reading.state == Backend::Reading::State::absent) return valueGone(value);
  // A value in a directory that is not known yet is told when the directory is.
  if (shape_ == Shape::directories && !directories_.contains(value.parent()))
    return syncDirectory(value.parent());
  failedIs(value, reading.transient);
  if (reading.state == Backend::Reading::State::present) {
    values_[value] = accepts(value, reading.text);
    return;
  }
  values_[value] = false;
  problems_.report(Activity::read, value.valueText(), {}, reading.reason);
  consumer_.valueUnreadable(value);
}

bool TreeReader::accepts(TreePath const& value, std::string const& text) {
  try {
    consumer_.valueIs(value, text);
  } catch (JsonError const& error) {
    problems_.report(Activity::read, value.valueText(), error.place(), error.reason());
    return false;
  }
  problems_.clear(Activity::read, value.valueText());
  return true;
}

void TreeReader::directoryGone(TreePath const& directory) {
  straysAre(directory, {});
  failedIs(directory, false);
  problems_.clear(Activity::read, directory.text());
  for (auto const& value : valuesIn(directory)) {
    values_.erase(value);
    failedIs(value, false);
    problems_.clear(Activity::read, value.valueText());
  }
  if (directories_.erase(directory)) consumer_.directoryGone(directory);
}

void TreeReader::valueGone(TreePath const& value) {
  bool const wasKnown = values_.erase(value) > 0;
  if (wasKnown) {
    failedIs(value, false);
    problems_.clear(Activity::read, value.valueText());
  }
  auto const own = consumer_.ownValues(value.parent());
  if (wasKnown || std::ranges::find(own, value) != own.end()) consumer_.valueGone(value);
}

void TreeReader::straysAre(TreePath const& directory, std::map<std::string, std::string> strays) {
  std::string const prefix = directory.text() + '/';
  std::set<std::string>& known = strays_[directory];
  for (auto at = known.begin(); at != known.end();) {
    if (strays.contains(*at)) {
      ++at;
    } else {
      problems_.clear(Activity::read, prefix + *at);
      at = known.erase(at);
    }
  }
  for (auto const& [fileName, reason] : strays) {
    known.insert(fileName);
    problems_.report(Activity::read, prefix + fileName, {}, reason);
  }
  if (known.empty()) strays_.erase(directory);
}

}  // namespace Oru::Mount
