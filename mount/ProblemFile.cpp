#include "mount/ProblemFile.h"

#include <utility>

namespace Oru::Mount {

ProblemFile::ProblemFile(ProblemList& problems, WriteQueue& queue, std::string const& program,
                         ProblemList::Listener log)
    : problems_(problems), queue_(queue), path_{"problems", program} {
  problems_.listenerIs([this, log = std::move(log)](auto const& problem, bool present) {
    log(problem, present);
    write();
  });
  write();
}

ProblemFile::~ProblemFile() { problems_.listenerIs({}); }

void ProblemFile::write() { queue_.put(path_, jsonOf(problems_.problems())); }

}  // namespace Oru::Mount
