#include "mount/ProblemFile.h"

#include <algorithm>
#include <utility>

namespace Oru::Mount {

ProblemFile::ProblemFile(ProblemList& problems, Backend& backend, WriteQueue& queue,
                         std::string const& program, ProblemList::Listener log)
    : problems_(problems), backend_(backend), queue_(queue), path_{"problems", program} {
  problems_.listenerIs([this, log = std::move(log)](auto const& problem, bool present) {
    log(problem, present);
    write();
  });
}

ProblemFile::~ProblemFile() { problems_.listenerIs({}); }

void ProblemFile::start() {
  watch_ = backend_.watch(path_.parent(), *this);
  write();
}

void ProblemFile::changed(std::vector<Backend::Change> const& changes) {
  bool const isConcerned = std::ranges::any_of(
      changes, [this](auto const& change) { return path_.isWithin(change.path); });
  if (isConcerned && backend_.read(path_).text != text()) write();
}

// The text is made when it is written: many problems may come at once.
void ProblemFile::write() {
  queue_.wish(Backend::Kind::value, path_, [this] { return backend_.put(path_, text()); });
}

}  // namespace Oru::Mount
