#include "mount/LockKeeper.h"

#include <system_error>
#include <utility>

namespace Oru::Mount {

LockKeeper::LockKeeper(EventLoop& loop, ProblemList& problems, std::string const& root,
                       std::string const& program,
                       std::function<void(LockedError const&)> elsewhere)
    : problems_(problems),
      file_(TreeLock::fileName(program)),
      lock_(root, program),
      elsewhere_(std::move(elsewhere)),
      retry_(loop, [this] { hold(); }) {}

void LockKeeper::hold() {
  using Activity = ProblemList::Activity;
  try {
    lock_.renew();
    problems_.clear(Activity::write, file_);
    retry_.settled();
  } catch (LockedError const& error) {
    elsewhere_(error);
  } catch (std::system_error const& error) {
    problems_.report(Activity::write, file_, {}, error.code().message());
    retry_.later();
  }
}

}  // namespace Oru::Mount
