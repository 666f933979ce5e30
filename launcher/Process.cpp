#include "launcher/Process.h"

#include <unistd.h>

#include <cstring>

namespace Oru::Launcher {

double ProcessIdentity::startedSinceBoot() const {
  return static_cast<double>(startTicks) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

std::string ProcessEnd::reason() const {
  switch (how) {
    case How::exited:
      return "exited with status " + std::to_string(value);
    case How::killed:
      return "killed by signal " + std::to_string(value) + " (" + strsignal(value) + ')';
    case How::unknown:
      break;
  }
  return "exit status unknown: the process was started by an earlier launcher";
}

}  // namespace Oru::Launcher
