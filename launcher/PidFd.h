#pragma once

#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

#include "mount/UniqueFd.h"

namespace Oru::Launcher {

// The C library's own declarations of these calls lack their C linkage in some releases.

// A descriptor that refers to the process for good, and is readable once it has ended; none, with
// errno, when there is no such process.
inline Mount::UniqueFd openProcess(pid_t pid) {
  return Mount::UniqueFd(static_cast<int>(syscall(SYS_pidfd_open, pid, 0)));
}

// Nothing when the process has ended.
inline void sendSignal(Mount::UniqueFd const& process, int signal) {
  syscall(SYS_pidfd_send_signal, process.get(), signal, nullptr, 0);
}

}  // namespace Oru::Launcher
