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
  standing_.erase(value);
  queue_.remove(value);
}

void TreeWriter::directoryIs(TreePath const& directory) {
  directories_.insert(directory);
  queue_.makeDirectory(directory);
}

void TreeWriter::directoryDel(TreePath const& directory) {
  if (!directories_.erase(directory)) return;
  std::erase_if(values_, [&](auto const& entry) { return entry.first.isWithin(directory); });
  std::erase_if(standing_, [&](auto const& entry) { return entry.first.isWithin(directory); });
  queue_.removeDirectory(directory);
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
