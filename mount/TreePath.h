#pragma once

#include <compare>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Oru::Mount {

// Names of entities are arbitrary UTF-8 texts without NUL; the names of files are not. A file name
// is the name with every byte but letters, digits and `-_.,+=@:` written as %XX (upper-case
// hexadecimal), and so are a leading dot and the dot of a trailing `.json`: no name hides, climbs,
// separates, or looks like a value's file. Each name has exactly one file name, and only that one
// is read back.

// The file name of `name`, without extension.
std::string encodedName(std::string_view name);
// The name that a file name stands for; nothing when the file name is not one that encodedName()
// makes.
std::optional<std::string> decodedName(std::string_view fileName);

// A place in the state tree: the names on the way from the root, as entities carry them (not
// encoded). The root is the empty path. Values and directories are told apart by the operation, not
// by the path.
class TreePath {
 public:
  TreePath() = default;
  TreePath(std::initializer_list<std::string_view> names) : names_(names.begin(), names.end()) {}

  TreePath operator/(std::string_view name) const;

  std::vector<std::string> const& names() const noexcept { return names_; }
  std::size_t size() const noexcept { return names_.size(); }
  bool isRoot() const noexcept { return names_.empty(); }
  std::string const& operator[](std::size_t index) const { return names_[index]; }
  // Last name; the path must not be the root.
  std::string const& leaf() const { return names_.back(); }
  // The directory that holds it; the path must not be the root.
  TreePath parent() const;
  // Whether `directory` is this place or one above it.
  bool isWithin(TreePath const& directory) const noexcept;

  // As file names, relative to the root: "status/Slice1". Of a value: with its extension.
  std::string text() const;
  std::string valueText() const;

  auto operator<=>(TreePath const&) const = default;
  bool operator==(TreePath const&) const = default;

 private:
  std::vector<std::string> names_;
};

}  // namespace Oru::Mount
