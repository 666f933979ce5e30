#include "mount/TreePath.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace Oru::Mount {

namespace {

constexpr std::string_view hexDigits = "0123456789ABCDEF";

bool standsForItself(char c) noexcept {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ||
         std::string_view("-_.,+=@:").find(c) != std::string_view::npos;
}

// The byte written as %XX at `at`, or nothing.
std::optional<char> decodedByte(std::string_view text, std::size_t at) {
  if (at + 2 >= text.size()) return std::nullopt;
  auto const high = hexDigits.find(text[at + 1]);
  auto const low = hexDigits.find(text[at + 2]);
  if (high == std::string_view::npos || low == std::string_view::npos) return std::nullopt;
  return static_cast<char>(high << 4 | low);
}

// Names stand in JSON texts as well, which are UTF-8.
bool isUtf8(std::string_view text) {
  if (std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80; }))
    return true;
  try {
    static_cast<void>(nlohmann::json(text).dump());
    return true;
  } catch (nlohmann::json::exception const&) {
    return false;
  }
}

}  // namespace

std::string encodedName(std::string_view name) {
  std::string text;
  text.reserve(name.size());
  std::size_t const lastDot = name.ends_with(".json") ? name.size() - 5 : std::string_view::npos;
  for (std::size_t at = 0; at < name.size(); ++at) {
    bool const telling = name[at] == '.' && (at == 0 || at == lastDot);
    if (standsForItself(name[at]) && !telling) {
      text += name[at];
      continue;
    }
    auto const byte = static_cast<unsigned char>(name[at]);
    text += '%';
    text += hexDigits[byte >> 4];
    text += hexDigits[byte & 15];
  }
  return text;
}

std::optional<std::string> decodedName(std::string_view fileName) {
  std::string name;
  name.reserve(fileName.size());
  for (std::size_t at = 0; at < fileName.size(); ++at) {
    if (fileName[at] != '%') {
      name += fileName[at];
      continue;
    }
    auto const byte = decodedByte(fileName, at);
    if (!byte) return std::nullopt;
    name += *byte;
    at += 2;
  }
  // Names end at a NUL, and the empty name has no file.
  if (name.empty() || name.find('\0') != std::string::npos || !isUtf8(name)) return std::nullopt;
  if (encodedName(name) != fileName) return std::nullopt;
  return name;
}

TreePath TreePath::operator/(std::string_view name) const {
  TreePath path = *this;
  path.names_.emplace_back(name);
  return path;
}

TreePath TreePath::parent() const {
  TreePath path = *this;
  path.names_.pop_back();
  return path;
}

bool TreePath::isWithin(TreePath const& directory) const noexcept {
  return directory.size() <= size() &&
         std::equal(directory.names_.begin(), directory.names_.end(), names_.begin());
}

std::string TreePath::text() const {
  std::string text;
  for (auto const& name : names_) {
    if (!text.empty()) text += '/';
    text += encodedName(name);
  }
  return text;
}

std::string TreePath::valueText() const { return text() + ".json"; }

}  // namespace Oru::Mount
