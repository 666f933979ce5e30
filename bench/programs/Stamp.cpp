// What a launcher is measured with: writes the time at which it was started, in nanoseconds of the
// monotonic clock, to the pipe that its argument names.

#include <fcntl.h>
#include <unistd.h>

#include <ctime>
#include <string>

int main(int argc, char** argv) {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  if (argc != 2) return 2;
  int const pipe = open(argv[1], O_WRONLY);
  std::string const text = std::to_string(now.tv_sec * 1000000000LL + now.tv_nsec) + "\n";
  return pipe >= 0 && write(pipe, text.data(), text.size()) > 0 ? 0 : 1;
}
