// oructl: the operator's command.

#include <unistd.h>

#include <iostream>

#include "tools/CommandLine.h"

int main(int argc, char** argv) {
  using Oru::Tools::Style;
  std::ios::sync_with_stdio(false);
  return Oru::Tools::runCommandLine({argv + 1, argv + argc},
                                    {std::cout, std::cerr, Style::forDescriptor(STDOUT_FILENO),
                                     Style::forDescriptor(STDERR_FILENO)});
}
