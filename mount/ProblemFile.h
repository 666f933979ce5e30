#pragma once

#include <memory>
#include <string>
#include <vector>

#include "mount/Backend.h"
#include "mount/ProblemList.h"
#include "mount/WriteQueue.h"

namespace Oru::Mount {

// Keeps a program's problems in the tree (`problems/<program>.json`), for everybody to read, and
// tells the program's log of each. One of an earlier run is replaced at the start; what others
// change or remove is put right.
class ProblemFile final : Backend::Observer {
 public:
  // `log` hears of every problem that is new or has new words (present), and of every one that is
  // gone. All arguments must outlive this.
  ProblemFile(ProblemList& problems, Backend& backend, WriteQueue& queue,
              std::string const& program, ProblemList::Listener log);
  ~ProblemFile();
  ProblemFile(ProblemFile const&) = delete;
  ProblemFile& operator=(ProblemFile const&) = delete;

  // The tree is there: writes the file, and keeps it right from now on.
  void start();

 private:
  void changed(std::vector<Backend::Change> const& changes) override;

  std::string text() const { return jsonOf(problems_.problems()); }
  void write();

  ProblemList& problems_;
  Backend& backend_;
  WriteQueue& queue_;
  TreePath const path_;
  std::unique_ptr<Backend::Watch> watch_;
};

}  // namespace Oru::Mount
