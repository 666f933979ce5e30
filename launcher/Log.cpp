#include "launcher/Log.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

namespace Oru::Launcher {

namespace {

// The journal tells its readers' end of standard error in the environment, as DEVICE:INODE.
bool isReadByTheJournal() {
  char const* stream = std::getenv("JOURNAL_STREAM");
  struct stat error {};
  if (stream == nullptr || fstat(STDERR_FILENO, &error) != 0) return false;
  return std::to_string(error.st_dev) + ':' + std::to_string(error.st_ino) == stream;
}

std::string printable(std::string_view text) {
  static constexpr std::string_view digits = "0123456789abcdef";
  std::string line;
  for (char const c : text) {
    auto const byte = static_cast<unsigned char>(c);
    if (byte >= ' ' && byte != 0x7f) {
      line += c;
      continue;
    }
    line += {'\\', 'x', digits[byte >> 4], digits[byte & 15]};
  }
  return line;
}

}  // namespace

void log(Priority priority, std::string_view text) {
  static bool const journal = isReadByTheJournal();
  std::string line = journal ? '<' + std::to_string(static_cast<int>(priority)) + '>'
                             : std::string("oru-launcher: ");
  line += printable(text) + '\n';
  // One call, so that lines of several programs do not mix. There is nowhere to report a failure.
  if (write(STDERR_FILENO, line.data(), line.size()) < 0) return;
}

}  // namespace Oru::Launcher
