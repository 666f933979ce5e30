#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "runtime/vunda/Export.h"

namespace Ringlog {

// Fills a template with "%s" and "%x" placeholders, one value after the other. Each value replaces
// the first placeholder behind the previous value: "%x" by the value in hexadecimal (integers
// only), "%s" by its ordinary text, which is what a standard stream prints: doubles with six
// digits, booleans as true and false. When no placeholder is left, a value is not written. What was
// put in for a placeholder is not searched for placeholders.
class ORU_EXPORT TemplateFiller {
 public:
  explicit TemplateFiller(std::string text) noexcept : text_(std::move(text)) {}

  void put(std::string_view value);
  void put(double value);
  void put(bool value);
  void put(std::uint64_t value);
  void put(std::int64_t value) { putSigned(value, static_cast<std::uint64_t>(value)); }
  // `bits` is what hexadecimal shows: the value in the width of its own type.
  void putSigned(std::int64_t value, std::uint64_t bits);

  std::string const& text() const noexcept { return text_; }

 private:
  // Where the next placeholder stands; npos when none is left.
  std::size_t nextPlaceholder() const noexcept;
  void replace(std::size_t at, std::string_view value);

  std::string text_;
  std::size_t position_ = 0;
};

}  // namespace Ringlog
