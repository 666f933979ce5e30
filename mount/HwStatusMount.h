#pragma once

#include "mount/DirWatch.h"
#include "mount/OutputMount.h"
#include "state/SliceHwStatus.h"

namespace Oru::Mount {

// SliceHwStatus in `hwStatusDir` -> hw/status/<slice>.json.
class HwStatusMount final : public OutputMount {
 public:
  HwStatusMount(MountContext const& context, Vunda::Ptr<Kesh::Dir> const& hwStatusDir);

  void follow();

 private:
  void load(TreePath const& value, std::string const& text) override;
  void added(std::string const& slice, Vunda::Ptr<Central::SliceHwStatus> const& status);

  Vunda::Ptr<Kesh::Dir> const hwStatusDir_;
  std::map<std::string, Vunda::Ptr<NodeWatch>> statuses_;
  std::unique_ptr<DirWatch> watch_;
};

}  // namespace Oru::Mount
