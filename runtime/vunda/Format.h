#pragma once

// How the base types print through fmt: a String as its characters, a Duration as its seconds, both
// under the format specifications of a string and of a double.

#include <string_view>

#include <fmt/core.h>
#include <fmt/format.h>

#include "runtime/vunda/Duration.h"
#include "runtime/vunda/String.h"

template <>
struct fmt::formatter<Vunda::String> : fmt::formatter<std::string_view> {
  template <typename Context>
  auto format(Vunda::String const& text, Context& context) const {
    return fmt::formatter<std::string_view>::format(text.view(), context);
  }
};

template <>
struct fmt::formatter<Vunda::Duration> : fmt::formatter<double> {
  template <typename Context>
  auto format(Vunda::Duration duration, Context& context) const {
    return fmt::formatter<double>::format(duration.seconds(), context);
  }
};
