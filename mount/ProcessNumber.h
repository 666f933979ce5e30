#pragma once

#include <signal.h>
#include <sys/types.h>

#include <cerrno>

namespace Oru::Mount {

// No process has this number. (One in another process namespace has none, seen from here.)
inline bool isDead(pid_t process) { return ::kill(process, 0) < 0 && errno == ESRCH; }

}  // namespace Oru::Mount
