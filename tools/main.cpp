// oructl: the operator's command.

#include <unistd.h>

#include <iostream>

#include "mount/ProgramStart.h"
#include "tools/CommandLine.h"

int main(int argc, char** argv) {
  using Oru::Tools::Style;
  Oru::Mount::openStandardDescriptors();
  std::ios::sync_with_stdio(false);
  return Oru::Tools::runCommandLine({argv + 1, argv + argc},
                                    {std::cout, std::cerr, Style::forDescriptor(STDOUT_FILENO),
                                     Style::forDescriptor(STDERR_FILENO)});
}
