#include "tests/central/Journal.h"

namespace OruTest {

void Journal::write(Kesh::TraceLine const& line) noexcept {
  text_.append(std::to_string(line.level)).append(" ").append(line.text).append("\n");
}

void Journal::happened(std::string const& line) {
  text_.append(line).append("\n");
  if (Hook const hook = hook_) hook(line);
}

}  // namespace OruTest
