#include "mount/StateMount.h"

#include "state/StateTypes.h"

namespace Oru::Mount {

namespace {

Vunda::Ptr<Kesh::Dir> newDir(char const* name) { return Vunda::makeNode<Kesh::Dir>(name); }

}  // namespace

// An answer to a request, or a board that was taken over, is not to stand before what it caused.
int StateMount::writeRank(TreePath const& path) {
  static TreePath const boards{"hw", "status"}, answers{"reset", "status"};
  if (path.isWithin(boards)) return 1;
  if (path.isWithin(answers)) return 2;
  return 0;
}

std::vector<TreePath> StateMount::directoriesWritten() {
  return {{"config"}, {"hw", "status"}, {"system"}, {"reset", "status"}, {"launcher"}};
}

StateMount::StateMount(EventLoop& loop, Backend& backend, ProblemList& problems, WriteQueue& queue)
    : writer_(backend, queue, problems),
      context_{loop, backend, problems, queue, writer_},
      hwConfigDir_(newDir("hwConfig")),
      hwStatusDir_(newDir("hwStatus")),
      configDir_(newDir("config")),
      statusDir_(newDir("status")),
      systemStatus_(Vunda::makeNode<Central::SystemStatus>("system")),
      resetRequestDir_(newDir("resetRequest")),
      resetStatusDir_(newDir("resetStatus")),
      sliceLauncherDir_(newDir("sliceLauncher")),
      chipLauncherDir_(newDir("chipLauncher")),
      featureLauncherDir_(newDir("featureLauncher")),
      config_(context_, configDir_),
      hwStatus_(context_, hwStatusDir_),
      status_(context_, statusDir_, configDir_),
      hwConfig_(context_, hwConfigDir_, status_),
      system_(context_, systemStatus_),
      resetStatus_(context_, resetStatusDir_),
      resetRequest_(context_, resetRequestDir_),
      sliceLauncher_(context_, "slice", sliceLauncherDir_),
      chipLauncher_(context_, "chip", chipLauncherDir_),
      featureLauncher_(context_, "feature", featureLauncherDir_),
      features_(context_) {
  Central::registerStateTypes();
}

// What is checked against something else comes after it, now and with every change, since observers
// hear of it in this order: so a hardware configuration is taken up by what stands in status/ then.
void StateMount::read() {
  config_.read();
  hwStatus_.read();
  system_.read();
  resetStatus_.read();
  sliceLauncher_.read();
  chipLauncher_.read();
  featureLauncher_.read();
  status_.start();
  hwConfig_.start();
  resetRequest_.start();
  features_.start();
}

void StateMount::follow() {
  config_.follow(
      [this](auto const& slice, auto const& chip) { status_.chipConfigChanged(slice, chip); });
  hwStatus_.follow();
  system_.follow();
  resetStatus_.follow();
  sliceLauncher_.follow();
  chipLauncher_.follow();
  featureLauncher_.follow();
}

}  // namespace Oru::Mount
