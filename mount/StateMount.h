#pragma once

#include <string>
#include <vector>

#include "mount/ConfigMount.h"
#include "mount/FeatureMount.h"
#include "mount/HwConfigMount.h"
#include "mount/HwStatusMount.h"
#include "mount/LauncherMount.h"
#include "mount/MountContext.h"
#include "mount/ResetRequestMount.h"
#include "mount/ResetStatusMount.h"
#include "mount/StatusMount.h"
#include "mount/SystemMount.h"
#include "runtime/kesh/Dir.h"
#include "state/SystemStatus.h"

namespace Oru::Mount {

// The whole state tree as the entities that the state machines work on, in both directions. What is
// read raises the clock's floor, so that every generation made from now on is above it.
//
//   1. construct   empty entities
//   2. read()      the tree's content into the entities; from now on changes of what others write
//                  reach the entities
//   3. follow()    from now on changes of the entities reach the tree
//   4. destroy     ends both; the entities live on, for whoever holds them, and touch nothing
//
// What is read is checked so far that nothing in the tree makes the machines raise or abort.
class StateMount {
 public:
  // The order in which a queue is to write: docs/state-tree.md says why.
  static int writeRank(TreePath const& path);
  // Those that nobody else writes to.
  static std::vector<TreePath> directoriesWritten();

  // The queue must have that order. All arguments must outlive the mount.
  StateMount(EventLoop& loop, Backend& backend, ProblemList& problems, WriteQueue& queue);
  StateMount(StateMount const&) = delete;
  StateMount& operator=(StateMount const&) = delete;

  void read();
  void follow();

  Vunda::Ptr<Kesh::Dir> const& hwConfigDir() const { return hwConfigDir_; }
  Vunda::Ptr<Kesh::Dir> const& hwStatusDir() const { return hwStatusDir_; }
  Vunda::Ptr<Kesh::Dir> const& configDir() const { return configDir_; }
  Vunda::Ptr<Kesh::Dir> const& statusDir() const { return statusDir_; }
  Vunda::Ptr<Central::SystemStatus> const& systemStatus() const { return systemStatus_; }
  Vunda::Ptr<Kesh::Dir> const& resetRequestDir() const { return resetRequestDir_; }
  Vunda::Ptr<Kesh::Dir> const& resetStatusDir() const { return resetStatusDir_; }
  Vunda::Ptr<Kesh::Dir> const& sliceLauncherDir() const { return sliceLauncherDir_; }
  Vunda::Ptr<Kesh::Dir> const& chipLauncherDir() const { return chipLauncherDir_; }
  Vunda::Ptr<Kesh::Dir> const& featureLauncherDir() const { return featureLauncherDir_; }

  HwConfigMount& hwConfig() { return hwConfig_; }
  FeatureMount& features() { return features_; }
  LauncherMount& featureLauncher() { return featureLauncher_; }
  ResetStatusMount const& resetStatus() const { return resetStatus_; }

 private:
  TreeWriter writer_;
  MountContext const context_;

  Vunda::Ptr<Kesh::Dir> const hwConfigDir_;
  Vunda::Ptr<Kesh::Dir> const hwStatusDir_;
  Vunda::Ptr<Kesh::Dir> const configDir_;
  Vunda::Ptr<Kesh::Dir> const statusDir_;
  Vunda::Ptr<Central::SystemStatus> const systemStatus_;
  Vunda::Ptr<Kesh::Dir> const resetRequestDir_;
  Vunda::Ptr<Kesh::Dir> const resetStatusDir_;
  Vunda::Ptr<Kesh::Dir> const sliceLauncherDir_;
  Vunda::Ptr<Kesh::Dir> const chipLauncherDir_;
  Vunda::Ptr<Kesh::Dir> const featureLauncherDir_;

  ConfigMount config_;
  HwStatusMount hwStatus_;
  StatusMount status_;
  HwConfigMount hwConfig_;
  SystemMount system_;
  ResetStatusMount resetStatus_;
  ResetRequestMount resetRequest_;
  LauncherMount sliceLauncher_;
  LauncherMount chipLauncher_;
  LauncherMount featureLauncher_;
  FeatureMount features_;
};

}  // namespace Oru::Mount
