#pragma once

#include <map>
#include <string>

#include "mount/MountContext.h"
#include "mount/TreeReader.h"
#include "runtime/kesh/Dir.h"
#include "state/ResetRequestDir.h"

namespace Oru::Mount {

// reset/request/<who>/<key>.json -> ResetRequestDir and ResetEntry in `resetRequestDir`. The
// directories may be anybody's.
class ResetRequestMount final : TreeReader::Consumer {
 public:
  ResetRequestMount(MountContext const& context, Vunda::Ptr<Kesh::Dir> const& resetRequestDir);

  void start() { reader_.start(); }

 private:
  void directoryIs(TreePath const& directory) override;
  void directoryRead(TreePath const& directory) override;
  void directoryGone(TreePath const& directory) override;
  void valueIs(TreePath const& value, std::string const& text) override;
  void valueGone(TreePath const& value) override;
  void baseMissing() override;

  MountContext const context_;
  Vunda::Ptr<Kesh::Dir> const resetRequestDir_;
  TreeReader reader_;
  std::map<std::string, Vunda::Ptr<Central::ResetRequestDir>> requesters_;
  std::map<TreePath, Central::ResetKey> requests_;
};

}  // namespace Oru::Mount
