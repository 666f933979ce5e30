#include "mount/TreeWriter.h"

#include <utility>

namespace Oru::Mount {

void TreeWriter::valueIs(TreePath const& value, Encode encode) {
  values_.insert_or_assign(value, std::move(encode));
  valueChanged(value);
}

void TreeWriter::valueChanged(TreePath const& value) {
  if (values_.contains(value))
    queue_.wish(Backend::Kind::value, value, [this, value] { return write(value); });
}

void TreeWriter::valueDel(TreePath const& value) {
  if (!values_.erase(value)) return;
  forget(value);
  queue_.remove(value);
}

void TreeWriter::forget(TreePath const& value) {
  standing_.erase(value);
  problems_.clear(ProblemList::Activity::read, value.valueText());
}

void TreeWriter::directoryIs(TreePath const& directory) {
  directories_.insert(directory);
  queue_.makeDirectory(directory);
}

void TreeWriter::directoryDel(TreePath const& directory) {
  if (!directories_.erase(directory)) return;
  for (auto const& value : valuesIn(directory)) {
    values_.erase(value);
    forget(value);
  }
  queue_.removeDirectory(directory);
}

std::vector<TreePath> TreeWriter::valuesIn(TreePath const& directory) const {
  std::vector<TreePath> found;
  for (auto at = values_.upper_bound(directory);
       at != values_.end() && at->first.isWithin(directory); ++at)
    if (at->first.size() == directory.size() + 1) found.push_back(at->first);
  return found;
}

std::vector<TreePath> TreeWriter::directoriesIn(TreePath const& directory) const {
  std::vector<TreePath> found;
  for (auto const& path : directories_)
    if (path.size() == directory.size() + 1 && path.isWithin(directory)) found.push_back(path);
  return found;
}

bool TreeWriter::found(TreePath const& value, std::optional<std::string> text) {
  if (text)
    standing_.insert_or_assign(value, *std::move(text));
  else
    standing_.erase(value);
  valueChanged(value);
  return values_.contains(value);
}

bool TreeWriter::directoryMissing(TreePath const& directory) {
  std::erase_if(standing_, [&](auto const& entry) { return entry.first.isWithin(directory); });
  for (auto const& kept : directories_)
    if (kept.isWithin(directory)) queue_.makeDirectory(kept);
  for (auto const& [value, encode] : values_)
    if (value.isWithin(directory)) valueChanged(value);
  return directories_.contains(directory);
}

std::error_code TreeWriter::write(TreePath const& value) {
  auto const known = values_.find(value);
  if (known == values_.end()) return {};  // its directory went meanwhile
  std::string text = known->second();
  auto const standing = standing_.find(value);
  if (standing != standing_.end() && standing->second == text) return {};
  standing_.erase(value);
  auto const error = backend_.put(value, text);
  if (error) return error;
  standing_.insert_or_assign(value, std::move(text));
  problems_.clear(ProblemList::Activity::read, value.valueText());
  return {};
}

}  // namespace Oru::Mount
