// What a launcher is measured with: writes the time at which it was started, in nanoseconds of the
// monotonic clock, to the pipe that its argument names. It is linked statically and needs nothing of
// the C++ library: its own start would only be added to what both launchers take.

#include <fcntl.h>
#include <stdio.h>
#include <time.h>

int main(int argc, char** argv) {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  if (argc != 2) return 2;
  int const pipe = open(argv[1], O_WRONLY);
  return pipe >= 0 && dprintf(pipe, "%lld\n", now.tv_sec * 1000000000LL + now.tv_nsec) > 0 ? 0 : 1;
}
