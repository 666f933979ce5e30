#include "mount/HwStatusMount.h"

#include "mount/Codec.h"
#include "mount/Names.h"
#include "runtime/kesh/System.h"

namespace Oru::Mount {

using Central::SliceHwStatus;
using Vunda::Ptr;

HwStatusMount::HwStatusMount(MountContext const& context, Ptr<Kesh::Dir> const& hwStatusDir)
    : OutputMount(context, {"hw", "status"}, TreeReader::Shape::values),
      hwStatusDir_(hwStatusDir) {}

void HwStatusMount::load(TreePath const& value, std::string const& text) {
  auto const genTime = Codec::sliceHwStatusOf(text);
  Kesh::System::currentTimeFloorIs(genTime);
  auto const status = Vunda::makeNode<SliceHwStatus>(entityName(value.leaf()));
  status->genTimeIs(genTime);
  hwStatusDir_->entityIs(status);
}

void HwStatusMount::follow() {
  watch_ = std::make_unique<DirWatch>(
      hwStatusDir_,
      DirWatch::Reactions{[this](auto const& slice, auto const& entity) {
                            if (auto const status = Vunda::ptrCast<SliceHwStatus>(entity))
                              added(slice, status);
                          },
                          [this](auto const& slice) {
                            statuses_.erase(slice);
                            writer().valueDel(base() / slice);
                          }});
}

void HwStatusMount::added(std::string const& slice, Ptr<SliceHwStatus> const& status) {
  auto const value = base() / slice;
  writer().valueIs(value, [status] { return Codec::jsonOf(*status); });
  statuses_[slice] =
      watchNode(*status, [this, value](auto, auto) { writer().valueChanged(value); });
}

}  // namespace Oru::Mount
