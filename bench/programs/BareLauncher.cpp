// The floor of oru-launcher: whatever is renamed into a directory starts a program, and that is all.
//
//   oru-bench-launcher DIRECTORY PROGRAM [ARGUMENT...]

#include <spawn.h>
#include <sys/inotify.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>

int main(int, char** argv) {
  std::signal(SIGCHLD, SIG_IGN);
  int const watch = inotify_init1(IN_CLOEXEC);
  if (argv[1] == nullptr || argv[2] == nullptr ||
      inotify_add_watch(watch, argv[1], IN_MOVED_TO) < 0) {
    std::perror("oru-bench-launcher");
    return 1;
  }
  std::puts("ready");
  std::fflush(stdout);
  alignas(inotify_event) char events[4096];
  for (ssize_t size; (size = read(watch, events, sizeof events)) > 0;) {
    for (char const* at = events; at < events + size;) {
      pid_t child = 0;
      if (posix_spawn(&child, argv[2], nullptr, nullptr, argv + 2, environ) != 0) return 1;
      at += sizeof(inotify_event) + reinterpret_cast<inotify_event const*>(at)->len;
    }
  }
  return 1;
}
