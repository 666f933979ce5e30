#pragma once

// Trace call sites, one line each. Both channels are fed from the same line: a record in the ring
// of the message's level (Ringlog), and a text line while the level is on in the handle that
// `_defaultTraceHandle()`, looked up at the call site, returns.
//
//   ORU_TRACE(3, "Starting slice agent {}", name);
//       A message with "{}" placeholders, one per argument (checked when compiled).
//
//   ORU_TRACE_ENTRY();
//   ORU_TRACE_ENTRY(name);
//       Entry of a function, level 2: its signature, ": ", the arguments.
//
//   ORU_TRACE_ENTRY_AS("chipName %s genTime %s", chipName, genTime);
//       The same, with labels in the text channel; the ring channel has the arguments alone.
//
//   ORU_TRACE_STREAM(2, "chipStatusExist=%s %s", exists, chipName);
//       A message with "%s" and "%x" placeholders, one per argument (checked when compiled). Values
//       print as a standard stream prints them: doubles with six digits, true and false.
//
// The level is a constant from 1 to 16. Level n goes to ring n - 1. Arguments are evaluated once,
// or not at all when the level is off in both channels. Numbers, booleans, texts, String and
// Duration are known; other types see RingValue.h.
//
// WHAT HAPPENS
//
//   gate.ring(level) --null--> done                                  one load, one branch
//         |
//         +--the ring this site is ready for--> write the record      the short way
//         |
//         +--anything else--> the long way, out of line:
//                               ring: register the message if this file does not have it,
//                                     write the record
//                               text: if the level is on, format and write the line

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

#include "runtime/duolog/RinglogConverter.h"
#include "runtime/kesh/TraceHandle.h"
#include "runtime/kesh/TraceHelper.h"
#include "runtime/kesh/TraceSite.h"
#include "runtime/ringlog/RingValue.h"
#include "runtime/vunda/Fmtrace.h"
#include "runtime/vunda/Signature.h"

namespace Kesh::Impl {

// A source file's path relative to the root of the tree that this header stands in.
consteval char const* relativePath(char const* path) {
  std::string_view const self = __FILE__;
  std::string_view const root = self.substr(0, self.size() - sizeof("runtime/kesh/Trace.h") + 1);
  return std::string_view(path).starts_with(root) ? path + root.size() : path;
}

// "%s", "%s %s", ...: one placeholder per argument.
template <std::size_t count>
inline constexpr auto placeholders = [] {
  std::array<char, 3 * count + 1> text{};
  for (std::size_t i = 0; i < count; ++i) {
    text[3 * i] = '%';
    text[3 * i + 1] = 's';
    text[3 * i + 2] = i + 1 < count ? ' ' : '\0';
  }
  return text;
}();

// The number of arguments that a "{}" message wants. Placeholders with a number or a name are
// refused.
consteval std::size_t bracePlaceholders(std::string_view text) {
  std::size_t count = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '{') continue;
    if (++i < text.size() && text[i] == '{') continue;
    if (i >= text.size() || (text[i] != '}' && text[i] != ':'))
      throw "placeholders are {} or {:...}";
    ++count;
    while (i < text.size() && text[i] != '}') ++i;
  }
  return count;
}

consteval std::size_t percentPlaceholders(std::string_view text) {
  std::size_t count = 0;
  for (std::size_t i = 0; i + 1 < text.size(); ++i) {
    if (text[i] == '%' && (text[i + 1] == 's' || text[i + 1] == 'x')) ++count;
  }
  return count;
}

// A literal text whose placeholders match the arguments; anything else does not compile.
template <typename... Args>
struct BraceText {
  char const* text;
  consteval BraceText(char const* literal) : text(literal) {
    if (bracePlaceholders(literal) != sizeof...(Args)) throw "one {} per argument";
    static_cast<void>(fmt::format_string<Args const&...>(literal));
  }
};
template <typename... Args>
struct PercentText {
  char const* text;
  consteval PercentText(char const* literal) : text(literal) {
    if (percentPlaceholders(literal) != sizeof...(Args)) throw "one %s or %x per argument";
  }
};

// How arguments go to the long way: small ones by value, so that the short way can keep them in
// registers.
template <typename T>
using Passed = std::conditional_t<
    std::is_array_v<T>, std::decay_t<T const>,
    std::conditional_t<std::is_scalar_v<T> || std::is_same_v<T, Vunda::Duration>, T, T const&>>;

template <typename... Args>
inline constexpr char typeCodes[] = {
    static_cast<char>(Ringlog::typeCode<std::remove_cvref_t<Passed<Args>>>())..., '\0'};

// One message on its way from a call site to the channels.
class TraceAt {
 public:
  TraceAt(Ringlog::Ring* ring, TraceHandle& handle, TracePlace const& place) noexcept
      : ring_(ring), handle_(handle), place_(place) {}

  template <typename... Args>
  [[gnu::always_inline]] void message(BraceText<std::type_identity_t<Args>...> format,
                                      Args const&... args) const {
    if (!shortWay(args...)) messageLongWay<Args...>(ring_, handle_, place_, format.text, args...);
  }

  template <typename... Args>
  [[gnu::always_inline]] void stream(PercentText<std::type_identity_t<Args>...> labels,
                                     Args const&... args) const {
    if (!shortWay(args...)) streamLongWay<Args...>(ring_, handle_, place_, labels.text, args...);
  }

  template <typename... Args>
  [[gnu::always_inline]] void entry(Args const&... args) const {
    stream(PercentText<Args...>(placeholders<sizeof...(Args)>.data()), args...);
  }

 private:
  template <typename... Args>
  [[gnu::always_inline]] bool shortWay(Args const&... args) const {
    static_assert(sizeof...(Args) <= Ringlog::maxArguments);
    Ringlog::MsgSite const& site = *place_.site;
    if (Vunda::ThreadControl::threadSafe() || !site.isReadyFor(ring_)) return false;
    putLoneRecord(*ring_, site.readyTag(), Ringlog::ringValue(args)...);
    return true;
  }

  // The short way while other threads trace.
  template <typename... Args>
  static bool sharedShortWay(Ringlog::Ring* ring, TracePlace const& place, Args const&... args) {
    std::uint64_t const tag = place.site->sharedReadyTag(ring);
    if (tag != 0) putSharedRecord(*ring, tag, Ringlog::ringValue(args)...);
    return tag != 0;
  }

  template <typename... Args>
  [[gnu::noinline]] static void messageLongWay(Ringlog::Ring* ring, TraceHandle& handle,
                                               TracePlace const& place, char const* format,
                                               Passed<Args>... args) {
    if (sharedShortWay(ring, place, args...)) return;
    putAnyRecord(handle, place, {Ringlog::TextStyle::Braces, typeCodes<Args...>, format}, args...);
    if (handle.isEnabled(place.level)) {
      Vunda::fmtrace(handle, static_cast<std::uint16_t>(place.level), place.file, place.function,
                     place.line, format, args...);
    }
  }

  template <typename... Args>
  [[gnu::noinline]] static void streamLongWay(Ringlog::Ring* ring, TraceHandle& handle,
                                              TracePlace const& place, char const* labels,
                                              Passed<Args>... args) {
    if (sharedShortWay(ring, place, args...)) return;
    bool const isEntry = place.signature != nullptr;
    std::string const intro = isEntry ? std::string(place.signature) + ": " : std::string();
    std::string const text = intro + (isEntry ? placeholders<sizeof...(Args)>.data() : labels);
    putAnyRecord(handle, place, {Ringlog::TextStyle::Percent, typeCodes<Args...>, text}, args...);
    if (handle.isEnabled(place.level)) {
      Duolog::RinglogConverter line(intro + labels);
      static_cast<void>((line << ... << args));
      TraceHelper(handle, place.level, place.file, place.line, place.function).stream()
          << line.text();
    }
  }

  template <typename... Values>
  [[gnu::always_inline]] static void putLoneRecord(Ringlog::Ring& ring, std::uint64_t const& tag,
                                                   Values const&... values) {
    Ringlog::finishRecord(ring.startLoneMsg(tag, Ringlog::argumentBytes(values...)), values...);
  }

  template <typename... Values>
  static void putSharedRecord(Ringlog::Ring& ring, std::uint64_t const& tag,
                              Values const&... values) {
    Ringlog::finishRecord(ring.startSharedMsg(tag, Ringlog::argumentBytes(values...)), values...);
  }

  // A record in the process's trace file, if there is one, after registering what is not registered
  // yet.
  template <typename... Args>
  static void putAnyRecord(TraceHandle& handle, TracePlace const& place, RingMessage const& message,
                           Args const&... args) {
    Ringlog::Ring* const ring = readyRing(handle, place, message);
    if (ring == nullptr) return;
    putSharedRecord(*ring, Ringlog::idTag(place.site->id().value()), Ringlog::ringValue(args)...);
  }

  Ringlog::Ring* ring_;
  TraceHandle& handle_;
  TracePlace const& place_;
};

}  // namespace Kesh::Impl

#define ORU_TRACE(level, ...) ORU_TRACE_SITE_(level, nullptr, message, __VA_ARGS__)

#define ORU_TRACE_STREAM(level, ...) ORU_TRACE_SITE_(level, nullptr, stream, __VA_ARGS__)

#define ORU_TRACE_ENTRY(...) \
  ORU_TRACE_SITE_(::Kesh::entryLevel, ORU_SIGNATURE, entry __VA_OPT__(, ) __VA_ARGS__)

#define ORU_TRACE_ENTRY_AS(...) \
  ORU_TRACE_SITE_(::Kesh::entryLevel, ORU_SIGNATURE, stream, __VA_ARGS__)

#define ORU_TRACE_SITE_(level, signature, kind, ...)                                              \
  do {                                                                                            \
    static_assert((level) >= 1 && (level) <= ::Ringlog::levels, "trace levels are 1 to 16");      \
    ::Kesh::TraceHandle& oruHandle_ = _defaultTraceHandle();                                      \
    if (::Ringlog::Ring* const oruRing_ = oruHandle_.gate().ring(level)) {                        \
      static constinit ::Ringlog::MsgSite oruSite_;                                               \
      static constexpr ::Kesh::TracePlace oruPlace_{                                              \
          &oruSite_, level, ::Kesh::Impl::relativePath(__FILE__), __LINE__, __func__, signature}; \
      ::Kesh::Impl::TraceAt(oruRing_, oruHandle_, oruPlace_).kind(__VA_ARGS__);                   \
    }                                                                                             \
  } while (false)
