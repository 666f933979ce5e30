#include "sim/TreePicture.h"

#include <algorithm>

namespace Oru::Sim {

namespace {

using Mount::Backend;
using Mount::TreePath;
using nlohmann::json;

}  // namespace

TreePicture::TreePicture(Mount::FileBackend& tree, OnChange onChange)
    : tree_(tree), onChange_(std::move(onChange)), watch_(tree_.watch({}, *this)) {
  look();
}

json const& TreePicture::value(TreePath const& path) const {
  static json const none;
  auto const at = values_.find(path);
  return at == values_.end() ? none : at->second;
}

std::vector<std::string> TreePicture::names(TreePath const& directory) const {
  std::vector<std::string> names;
  for (auto at = values_.upper_bound(directory);
       at != values_.end() && at->first.isWithin(directory); ++at) {
    if (at->first.size() == directory.size() + 1) names.push_back(at->first.leaf());
  }
  return names;
}

std::vector<TreePath> TreePicture::directories(TreePath const& directory) const {
  std::vector<TreePath> found;
  for (auto at = directories_.upper_bound(directory);
       at != directories_.end() && at->isWithin(directory); ++at) {
    if (at->size() == directory.size() + 1) found.push_back(*at);
  }
  return found;
}

void TreePicture::look() {
  lookAtDirectory({});
  tell();
}

void TreePicture::changed(std::vector<Backend::Change> const& changes) {
  for (auto const& change : changes) lookAt(change);
  tell();
}

void TreePicture::rootLost(std::string const&) {
  rootIsThere_ = false;
  onChange_({});
}

void TreePicture::rootBack() {
  rootIsThere_ = true;
  onChange_({});
}

void TreePicture::lookAt(Backend::Change const& change) {
  if (change.kind == Backend::Kind::value) return lookAtValue(change.path);
  lookAtDirectory(change.path);
}

void TreePicture::lookAtValue(TreePath const& path) {
  auto const reading = tree_.read(path);
  bool const present = reading.state == Backend::Reading::State::present;
  json value = present ? json::parse(reading.text, nullptr, false) : json();
  valueIs(path, value.is_discarded() ? json() : std::move(value));
}

void TreePicture::lookAtDirectory(TreePath const& path) {
  auto const listing = tree_.list(path);
  if (!path.isRoot()) directoryIs(path, listing.state == Backend::Listing::State::present);
  forgetMissing(path, listing);
  for (auto const& member : listing.members) lookAt({path / member.name, member.kind});
}

void TreePicture::forgetMissing(TreePath const& directory, Backend::Listing const& listing) {
  auto const stands = [&](TreePath const& path, Backend::Kind kind) {
    return std::ranges::find(listing.members, Backend::Member{path.leaf(), kind}) !=
           listing.members.end();
  };
  std::vector<TreePath> goneValues, goneDirectories;
  for (auto at = values_.upper_bound(directory);
       at != values_.end() && at->first.isWithin(directory); ++at) {
    bool const direct = at->first.size() == directory.size() + 1;
    if (direct && !stands(at->first, Backend::Kind::value)) goneValues.push_back(at->first);
  }
  for (auto at = directories_.upper_bound(directory);
       at != directories_.end() && at->isWithin(directory); ++at) {
    bool const direct = at->size() == directory.size() + 1;
    if (direct && !stands(*at, Backend::Kind::directory)) goneDirectories.push_back(*at);
  }
  for (TreePath const& path : goneValues) valueIs(path, {});
  for (TreePath const& path : goneDirectories) lookAtDirectory(path);
}

void TreePicture::valueIs(TreePath const& path, json value) {
  json& known = values_[path];
  if (known != value) differences_.push_back({path, false, known, value});
  known = std::move(value);
  if (known.is_null()) values_.erase(path);
}

void TreePicture::directoryIs(TreePath const& path, bool present) {
  bool const known = directories_.contains(path);
  if (known != present) differences_.push_back({path, true, known, present});
  if (present) directories_.insert(path);
  if (!present) directories_.erase(path);
}

void TreePicture::tell() {
  if (differences_.empty()) return;
  std::vector<Difference> const differences = std::exchange(differences_, {});
  onChange_(differences);
}

}  // namespace Oru::Sim
