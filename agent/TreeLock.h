#pragma once

#include <string>
#include <system_error>

#include "mount/UniqueFd.h"

namespace Oru::Agent {

// Holds a tree for one hosting agent: a lock on the file `.oru-agent.lock` in its root, which the
// system gives back however the process ends.
class TreeLock {
 public:
  static constexpr char const* fileName = ".oru-agent.lock";

  // Takes the lock; std::errc::resource_unavailable_try_again when somebody else has it.
  std::error_code take(std::string const& root);

 private:
  Mount::UniqueFd file_;
};

}  // namespace Oru::Agent
