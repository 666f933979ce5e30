#pragma once

#include <stdexcept>
#include <string>
#include <system_error>

#include "mount/FileTree.h"
#include "tools/Context.h"

namespace Oru::Tools {

// A command cannot do what was asked; the text says why, in words for the operator.
class Failure : public std::runtime_error {
 public:
  Failure(ExitCode code, std::string const& text) : std::runtime_error(text), code_(code) {}

  ExitCode code() const noexcept { return code_; }

 private:
  ExitCode const code_;
};

// For the result of writing a value of the tree: raises Failure (exitTree) when there is an error.
inline void requireWritten(std::error_code error, Mount::FileTree const& tree,
                           Mount::TreePath const& value) {
  if (error)
    throw Failure(exitTree,
                  "cannot write " + tree.root() + '/' + value.valueText() + ": " + error.message());
}

}  // namespace Oru::Tools
