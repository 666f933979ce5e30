#pragma once

// How a value goes into a ring record: as a number where it is one, as text otherwise. A type of
// its own gets a text by a free function in its namespace, found by its argument:
//
//   std::string ringText(ResetKey const& key);        for the ring channel, or else
//   std::string valueToStrep(ResetKey const& key);    the generic text form, for both channels

#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

#include "runtime/ringlog/Layout.h"
#include "runtime/ringlog/Ring.h"
#include "runtime/vunda/Duration.h"
#include "runtime/vunda/String.h"

namespace Ringlog {

template <typename T>
concept HasRingText = requires(T const& value) {
  { ringText(value) } -> std::convertible_to<std::string>;
};

template <typename T>
concept HasStrep = requires(T const& value) {
  { valueToStrep(value) } -> std::convertible_to<std::string>;
};

// The value as a record's arguments have it; a text refers to the value's characters or owns new
// ones.
template <typename T>
constexpr auto ringValue(T const& value) {
  if constexpr (std::same_as<T, bool>) {
    return value;
  } else if constexpr (std::same_as<T, char>) {
    return std::string(1, value);
  } else if constexpr (std::floating_point<T>) {
    return static_cast<double>(value);
  } else if constexpr (std::signed_integral<T>) {
    return static_cast<std::int64_t>(value);
  } else if constexpr (std::unsigned_integral<T>) {
    return static_cast<std::uint64_t>(value);
  } else if constexpr (std::same_as<T, Vunda::Duration>) {
    return value.seconds();
  } else if constexpr (std::same_as<T, Vunda::String>) {
    return value.view();
  } else if constexpr (std::convertible_to<T const&, std::string_view>) {
    return std::string_view(value);
  } else if constexpr (HasRingText<T>) {
    return std::string(ringText(value));
  } else {
    static_assert(HasStrep<T>, "a traced value's type needs ringText() or valueToStrep()");
    return std::string(valueToStrep(value));
  }
}

template <typename T>
constexpr TypeCode typeCode() {
  using Value = decltype(ringValue(std::declval<T const&>()));
  if constexpr (std::same_as<Value, bool>)
    return TypeCode::Bool;
  else if constexpr (std::same_as<Value, double>)
    return TypeCode::Double;
  else if constexpr (std::same_as<Value, std::int64_t>)
    return TypeCode::Signed;
  else if constexpr (std::same_as<Value, std::uint64_t>)
    return TypeCode::Unsigned;
  else
    return TypeCode::String;
}

// The bytes that these arguments, results of ringValue(), take in a record.
template <typename... Values>
constexpr std::size_t argumentBytes(Values const&... values) noexcept {
  return (std::size_t{0} + ... + encodedBytes(values));
}

template <typename... Values>
[[gnu::always_inline]] inline void finishRecord(Msg msg, Values const&... values) noexcept {
  (msg.put(values), ...);
  msg.endMsg();
}

}  // namespace Ringlog
