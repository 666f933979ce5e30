#include "runtime/ringlog/TemplateFiller.h"

#include <algorithm>

#include "runtime/ringlog/ValueText.h"

namespace Ringlog {

namespace {
constexpr std::size_t placeholderBytes = 2;
}

std::size_t TemplateFiller::nextPlaceholder() const noexcept {
  return std::min(text_.find("%x", position_), text_.find("%s", position_));
}

void TemplateFiller::replace(std::size_t at, std::string_view value) {
  if (at == std::string::npos) return;
  text_.replace(at, placeholderBytes, value);
  position_ = at + value.size();
}

void TemplateFiller::put(std::string_view value) { replace(nextPlaceholder(), value); }

void TemplateFiller::put(double value) { put(std::string_view(streamText(value))); }

void TemplateFiller::put(bool value) { put(std::string_view(value ? "true" : "false")); }

void TemplateFiller::put(std::uint64_t value) {
  std::size_t const at = nextPlaceholder();
  bool const hexadecimal = at != std::string::npos && text_[at + 1] == 'x';
  replace(at, hexadecimal ? hexadecimalText(value) : std::to_string(value));
}

void TemplateFiller::putSigned(std::int64_t value, std::uint64_t bits) {
  std::size_t const at = nextPlaceholder();
  bool const hexadecimal = at != std::string::npos && text_[at + 1] == 'x';
  replace(at, hexadecimal ? hexadecimalText(bits) : std::to_string(value));
}

}  // namespace Ringlog
