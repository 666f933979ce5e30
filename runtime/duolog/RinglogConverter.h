#pragma once

#include <concepts>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "runtime/ringlog/RingValue.h"
#include "runtime/ringlog/TemplateFiller.h"
#include "runtime/vunda/Duration.h"
#include "runtime/vunda/String.h"

namespace Duolog {

// Builds one line for the text channel from a template with "%s" and "%x" placeholders:
//
//   RinglogConverter line("chipName %s genTime %s");
//   line << chipName << genTime;          // "chipName Chip1 genTime 12.5"
//
// How placeholders are found and values printed: see TemplateFiller. A String prints as its
// characters, a Duration as the double it holds, a type of its own through valueToStrep() (see
// RingValue.h).
class RinglogConverter {
 public:
  explicit RinglogConverter(std::string text) noexcept : filler_(std::move(text)) {}

  template <typename T>
  RinglogConverter& operator<<(T const& value) {
    if constexpr (std::same_as<T, bool>) {
      filler_.put(value);
    } else if constexpr (std::same_as<T, char>) {
      filler_.put(std::string_view(&value, 1));
    } else if constexpr (std::floating_point<T>) {
      filler_.put(static_cast<double>(value));
    } else if constexpr (std::signed_integral<T>) {
      filler_.putSigned(value, static_cast<std::make_unsigned_t<T>>(value));
    } else if constexpr (std::unsigned_integral<T>) {
      filler_.put(std::uint64_t{value});
    } else if constexpr (std::same_as<T, Vunda::Duration>) {
      filler_.put(value.seconds());
    } else if constexpr (std::same_as<T, Vunda::String>) {
      filler_.put(value.view());
    } else if constexpr (std::convertible_to<T const&, std::string_view>) {
      filler_.put(std::string_view(value));
    } else {
      static_assert(Ringlog::HasStrep<T>, "a traced value's type needs valueToStrep()");
      filler_.put(std::string_view(valueToStrep(value)));
    }
    return *this;
  }

  std::string const& text() const noexcept { return filler_.text(); }

 private:
  Ringlog::TemplateFiller filler_;
};

}  // namespace Duolog
