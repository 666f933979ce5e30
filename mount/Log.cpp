#include "mount/Log.h"

#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <utility>

#include "mount/Printable.h"

namespace Oru::Mount {

namespace {

// JOURNAL_STREAM names the device and inode of a stream that leads to the journal; it is inherited,
// so it may be about a stream that standard error is not.
bool leadsToJournal() {
  char const* const stream = std::getenv("JOURNAL_STREAM");
  struct ::stat status {};
  if (!stream || ::fstat(STDERR_FILENO, &status) < 0) return false;
  return std::to_string(status.st_dev) + ':' + std::to_string(status.st_ino) == stream;
}

std::string timeText() {
  auto const now = std::chrono::system_clock::now();
  std::time_t const seconds = std::chrono::system_clock::to_time_t(now);
  auto const milliseconds =
      std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
  std::tm utc{};
  ::gmtime_r(&seconds, &utc);
  char text[40];
  auto const length = std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &utc);
  std::snprintf(text + length, sizeof text - length, ".%03dZ", static_cast<int>(milliseconds));
  return text;
}

char const* wordOf(Log::Priority priority) {
  if (priority == Log::Priority::error) return "error: ";
  return priority == Log::Priority::warning ? "warning: " : "";
}

}  // namespace

Log::Log(std::string program) : program_(std::move(program)), toJournal_(leadsToJournal()) {}

void Log::operator()(Priority priority, std::string_view text) const {
  std::string line = toJournal_ ? '<' + std::to_string(static_cast<int>(priority)) + '>'
                                : timeText() + ' ' + program_ + ": " + wordOf(priority);
  line += printable(text) + '\n';
  // One call, so that lines of several programs do not mix. There is nowhere to report a failure.
  static_cast<void>(::write(STDERR_FILENO, line.data(), line.size()) < 0);
}

}  // namespace Oru::Mount
