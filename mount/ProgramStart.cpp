#include "mount/ProgramStart.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>

namespace Oru::Mount {

// A file gets the lowest number that is free.
void openStandardDescriptors() {
  for (int standard = STDIN_FILENO; standard <= STDERR_FILENO; ++standard)
    if (::fcntl(standard, F_GETFD) < 0) static_cast<void>(::open("/dev/null", O_RDWR));
}

void ignoreBrokenPipes() { std::signal(SIGPIPE, SIG_IGN); }

}  // namespace Oru::Mount
