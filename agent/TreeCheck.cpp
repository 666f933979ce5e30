#include "agent/TreeCheck.h"

#include <cstdio>

#include "agent/Options.h"
#include "mount/FileBackend.h"
#include "mount/Printable.h"
#include "mount/StateMount.h"

namespace Oru::Agent {

int checkTree(std::string const& tree) {
  Mount::EventLoop loop;
  Mount::FileBackend backend(loop, tree);
  auto const root = backend.list({});
  if (root.state != Mount::Backend::Listing::State::present) {
    std::fprintf(stderr, "cannot use %s: %s\n", tree.c_str(),
                 root.reason.empty() ? "there is no such folder" : root.reason.c_str());
    return exitTree;
  }
  Mount::ProblemList problems;
  // The loop does not run, so what the queue holds is never written.
  Mount::WriteQueue queue(loop, backend, problems);
  Mount::StateMount mount(loop, backend, problems, queue);
  mount.read();
  for (auto const& problem : problems.problems())
    std::printf("%s\n", Mount::printable(textOf(problem)).c_str());
  return problems.empty() ? exitOk : exitProblems;
}

}  // namespace Oru::Agent
