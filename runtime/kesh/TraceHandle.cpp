#include "runtime/kesh/TraceHandle.h"

#include <charconv>
#include <cstdio>

#include <unistd.h>

namespace Kesh {

namespace {

class LevelsText {
 public:
  LevelsText(std::string_view text, std::string_view origin)
      : text_(text), origin_(origin), rest_(text) {}

  std::uint32_t mask() {
    std::string_view const word = trimmed(text_);
    if (word.empty() || word == "none") return 0;
    if (word == "all") return TraceHandle::allLevels;
    std::uint32_t mask = range();
    while (!rest_.empty()) {
      if (!skip(',')) fail("a comma is missing");
      mask |= range();
    }
    return mask;
  }

 private:
  std::uint32_t range() {
    unsigned const first = level();
    unsigned const last = skip('-') ? level() : first;
    if (last < first) fail("a range runs backwards");
    std::uint32_t mask = 0;
    for (unsigned n = first; n <= last; ++n) mask |= 1u << n;
    return mask;
  }

  unsigned level() {
    skipBlanks();
    unsigned value = 0;
    auto const [end, error] = std::from_chars(rest_.data(), rest_.data() + rest_.size(), value);
    if (error == std::errc::invalid_argument) fail("a level is missing");
    if (error != std::errc() || value < 1 || value > Ringlog::levels) fail("levels are 1 to 16");
    rest_.remove_prefix(static_cast<std::size_t>(end - rest_.data()));
    skipBlanks();
    return value;
  }

  bool skip(char wanted) {
    if (rest_.empty() || rest_.front() != wanted) return false;
    rest_.remove_prefix(1);
    return true;
  }

  void skipBlanks() {
    while (skip(' ')) {
    }
  }

  static std::string_view trimmed(std::string_view text) {
    while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
    while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
    return text;
  }

  [[noreturn]] void fail(char const* reason) const {
    std::string message = "trace levels \"";
    message.append(text_).append("\" from ").append(origin_).append(": ").append(reason);
    throw TraceLevelsError(message);
  }

  std::string_view text_;
  std::string_view origin_;
  std::string_view rest_;
};

void writeToStandardError(std::string const& text) noexcept {
  std::string_view rest = text;
  while (!rest.empty()) {
    ssize_t const written = ::write(STDERR_FILENO, rest.data(), rest.size());
    if (written <= 0) return;
    rest.remove_prefix(static_cast<std::size_t>(written));
  }
}

}  // namespace

std::uint32_t traceLevels(std::string_view text, std::string_view origin) {
  return LevelsText(text, origin).mask();
}

std::string traceLineText(TraceLine const& line) {
  tm utc{};
  gmtime_r(&line.time.tv_sec, &utc);
  char time[64];
  std::size_t const length = std::strftime(time, sizeof time, "%Y-%m-%dT%H:%M:%S", &utc);
  std::snprintf(time + length, sizeof time - length, ".%06ldZ", line.time.tv_nsec / 1000);
  std::string text(time);
  text.append(" ").append(line.handle).append(" ").append(std::to_string(line.level));
  text.append(" ").append(line.file).append(":").append(std::to_string(line.line));
  text.append(" ").append(line.function).append(": ").append(line.text);
  return text;
}

void TraceHandle::write(unsigned level, char const* file, unsigned line, char const* function,
                        std::string_view text) noexcept {
  TraceLine traced{{}, name_, level, file, line, function, text};
  clock_gettime(CLOCK_REALTIME, &traced.time);
  if (TraceSink* const sink = sink_.load()) {
    sink->write(traced);
  } else {
    writeToStandardError(traceLineText(traced) + "\n");
  }
}

}  // namespace Kesh
