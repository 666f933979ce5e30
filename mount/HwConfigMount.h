#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>

#include "mount/Codec.h"
#include "mount/MountContext.h"
#include "mount/StatusMount.h"
#include "mount/TreeReader.h"
#include "runtime/kesh/Dir.h"

namespace Oru::Mount {

// hw/config/<slice>.json -> SliceHwConfig in `hwConfigDir`.
//
// A slice's machine keeps the objects that it was built with. So a configuration that changes is
// changed in place (the chips first, announced again when the list of them is another, the
// generation last), and one that comes back while the status directory of the board that was
// removed still stands waits until that has gone, and the machine with it.
class HwConfigMount final : TreeReader::Consumer {
 public:
  HwConfigMount(MountContext const& context, Vunda::Ptr<Kesh::Dir> const& hwConfigDir,
                StatusMount& status);

  void start() { reader_.start(); }
  // Whether a file stands at the slice's place, accepted or not.
  bool stands(std::string const& slice) const;
  // Whether every file that stands there was accepted.
  bool allAccepted() const;
  // Is called when something has gone that no machine may have known: a file that was never
  // accepted, or the status directory of a slice without configuration.
  void unknownGoneIs(std::function<void()> unknownGone) { unknownGone_ = std::move(unknownGone); }

 private:
  struct Slice {
    Vunda::Ptr<Central::SliceHwConfig> config;
    // Those of removed chips too: a chip's machine keeps the object that it was built with.
    std::map<std::string, Vunda::Ptr<Central::ChipHwConfig>> chips;
  };

  void valueIs(TreePath const& value, std::string const& text) override;
  void valueGone(TreePath const& value) override;
  void baseMissing() override;
  void statusGone(std::string const& slice);

  void insert(std::string const& name, Codec::SliceHwData const& data);
  void update(std::string const& name, Slice& slice, Codec::SliceHwData const& data);
  static bool applyChips(Slice& slice, Codec::SliceHwData const& data);

  MountContext const context_;
  Vunda::Ptr<Kesh::Dir> const hwConfigDir_;
  StatusMount& status_;
  TreeReader reader_;
  std::map<std::string, Slice> slices_;
  std::set<std::string> pulled_;  // removed, with the board's status directory still there
  std::function<void()> unknownGone_ = [] {};
};

}  // namespace Oru::Mount
