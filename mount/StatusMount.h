#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>

#include "mount/MountContext.h"
#include "mount/TreeReader.h"
#include "runtime/kesh/Dir.h"
#include "state/ChipStatus.h"
#include "state/SliceHwConfig.h"

namespace Oru::Mount {

// status/<slice>/<chip>.json -> Kesh::Dir and ChipStatus in `statusDir`.
//
// A chip machine keeps the ChipStatus that it was built with, so while a slice's directory stands
// there is one object per chip: one whose file goes leaves its directory, and comes back with the
// file.
//
// A generation that is newer than the chip's configuration would end the process: it is refused,
// and looked at again when the configuration has another one. When nothing better is known of the
// chip, its status is then one that runs nothing.
class StatusMount final : TreeReader::Consumer {
 public:
  StatusMount(MountContext const& context, Vunda::Ptr<Kesh::Dir> const& statusDir,
              Vunda::Ptr<Kesh::Dir> const& configDir);

  void start() { reader_.start(); }
  bool hasSlice(std::string const& slice) const { return slices_.contains(slice); }
  // Gives each chip of the configuration a status in its slice's directory, if that is there: one
  // that runs nothing, where no agent has reported.
  void chipsAre(std::string const& slice, Central::SliceHwConfig const& config);
  // The generation of a chip's configuration is another.
  void chipConfigChanged(std::string const& slice, std::string const& chip);
  // Is called after a slice's directory, and with it the slice's machine, has gone.
  void sliceGoneIs(std::function<void(std::string const&)> sliceGone) {
    sliceGone_ = std::move(sliceGone);
  }

 private:
  struct Slice {
    Vunda::Ptr<Kesh::Dir> dir;
    std::map<std::string, Vunda::Ptr<Central::ChipStatus>> chips;
  };

  void directoryIs(TreePath const& directory) override;
  void directoryRead(TreePath const& directory) override;
  void directoryGone(TreePath const& directory) override;
  void valueIs(TreePath const& value, std::string const& text) override;
  void valueGone(TreePath const& value) override;
  void baseMissing() override;

  static void insert(Slice& slice, Vunda::Ptr<Central::ChipStatus> const& status);
  Vunda::Ptr<Central::ChipStatus> statusOf(Slice& slice, std::string const& chip);
  Vunda::Duration configured(TreePath const& value) const;

  MountContext const context_;
  Vunda::Ptr<Kesh::Dir> const statusDir_;
  Vunda::Ptr<Kesh::Dir> const configDir_;
  TreeReader reader_;
  std::map<std::string, Slice> slices_;
  std::set<TreePath> tooNew_;
  EventSource lookAgain_;
  std::function<void(std::string const&)> sliceGone_ = [](std::string const&) {};
};

}  // namespace Oru::Mount
