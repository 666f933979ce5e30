#include "mount/ResetStatusMount.h"

#include "mount/Codec.h"
#include "mount/Names.h"
#include "runtime/kesh/System.h"

namespace Oru::Mount {

using Central::ResetStatusDir;
using Vunda::Duration;
using Vunda::Ptr;

ResetStatusMount::ResetStatusMount(MountContext const& context,
                                   Ptr<Kesh::Dir> const& resetStatusDir)
    : OutputMount(context, {"reset", "status"}, TreeReader::Shape::directories),
      resetStatusDir_(resetStatusDir) {}

void ResetStatusMount::loadDirectory(TreePath const& directory) {
  resetStatusDir_->createEntity(ResetStatusDir::typeName, entityName(directory.leaf()));
}

void ResetStatusMount::load(TreePath const& value, std::string const& text) {
  auto const data = Codec::resetOf(text, value.leaf());
  Kesh::System::currentTimeFloorIs(data.genTime);
  auto const requester = resetStatusDir_->entityPtr(entityName(value[2]));
  Codec::apply(data, *Vunda::ptrCast<ResetStatusDir>(requester)->resetStatusIs(data.key));
}

Duration ResetStatusMount::lastAnswer(Central::ResetType type) const {
  Duration last;
  for (auto who = resetStatusDir_->entityPtrIterator(); who; ++who) {
    auto const dir = Vunda::ptrCast<ResetStatusDir>(who.entity());
    for (auto at = dir->resetStatus().iterator(); at; ++at)
      if (at.key().resetType() == type && at.value()->genTime() > last)
        last = at.value()->genTime();
  }
  return last;
}

void ResetStatusMount::follow() {
  watch_ = std::make_unique<DirWatch>(
      resetStatusDir_,
      DirWatch::Reactions{[this](auto const& who, auto const& entity) {
                            if (auto const dir = Vunda::ptrCast<ResetStatusDir>(entity))
                              requesterAdded(who, dir);
                          },
                          [this](auto const& who) {
                            requesters_.erase(who);
                            writer().directoryDel(base() / who);
                          }});
}

void ResetStatusMount::requesterAdded(std::string const& who, Ptr<ResetStatusDir> const& dir) {
  writer().directoryIs(base() / who);
  requesters_[who].watch = watchNode(*dir, [this, who, &dir = *dir](auto field, void const* key) {
    if (field == ResetStatusDir::resetStatusField)
      recordChanged(who, dir, *static_cast<Central::ResetKey const*>(key));
  });
  for (auto at = dir->resetStatus().iterator(); at; ++at) recordChanged(who, *dir, at.key());
}

void ResetStatusMount::recordChanged(std::string const& who, ResetStatusDir const& dir,
                                     Central::ResetKey const& key) {
  std::string const name = Codec::nameOf(key);
  auto const value = base() / who / name;
  auto& records = requesters_[who].records;
  auto const record = dir.resetStatus(key);
  if (!record) {
    records.erase(name);
    writer().valueDel(value);
    return;
  }
  writer().valueIs(value, [record] { return Codec::jsonOf(*record); });
  records[name] = watchNode(*record, [this, value](auto, auto) { writer().valueChanged(value); });
}

}  // namespace Oru::Mount
