#pragma once

#include <functional>
#include <string>

#include "mount/ProblemList.h"
#include "mount/WriteQueue.h"

namespace Oru::Mount {

// Keeps a program's problems in the tree (`problems/<program>.json`), for everybody to read, and
// tells the program's log of each. One of an earlier run is replaced at the start.
class ProblemFile {
 public:
  // `log` hears of every problem that is new or has new words (present), and of every one that is
  // gone.
  ProblemFile(ProblemList& problems, WriteQueue& queue, std::string const& program,
              ProblemList::Listener log);
  ~ProblemFile();
  ProblemFile(ProblemFile const&) = delete;
  ProblemFile& operator=(ProblemFile const&) = delete;

 private:
  void write();

  ProblemList& problems_;
  WriteQueue& queue_;
  TreePath const path_;
};

}  // namespace Oru::Mount
