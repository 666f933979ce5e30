#include "mount/StatusMount.h"

#include "mount/Codec.h"
#include "mount/JsonError.h"
#include "mount/Names.h"
#include "runtime/kesh/System.h"
#include "state/ChipConfig.h"

namespace Oru::Mount {

using Central::ChipConfig;
using Central::ChipStatus;
using Kesh::Dir;
using Vunda::Ptr;

namespace {

TreePath const base{"status"};

}  // namespace

StatusMount::StatusMount(MountContext const& context, Ptr<Dir> const& statusDir,
                         Ptr<Dir> const& configDir)
    : context_(context),
      statusDir_(statusDir),
      configDir_(configDir),
      reader_(context.loop, context.backend, context.problems, base, TreeReader::Shape::directories,
              *this) {}

void StatusMount::baseMissing() { context_.queue.makeDirectory(base); }

// Filled first, announced then: the slice's machine sees all of its chips at once.
void StatusMount::directoryIs(TreePath const& directory) {
  slices_[directory.leaf()].dir = Vunda::makeNode<Dir>(entityName(directory.leaf()));
}

void StatusMount::directoryRead(TreePath const& directory) {
  statusDir_->entityIs(slices_[directory.leaf()].dir);
}

void StatusMount::directoryGone(TreePath const& directory) {
  std::string const slice = directory.leaf();
  std::erase_if(tooNew_, [&](auto const& value) { return value.isWithin(directory); });
  slices_.erase(slice);
  statusDir_->deleteEntity(entityName(slice));
  sliceGone_(slice);
}

void StatusMount::valueIs(TreePath const& value, std::string const& text) {
  auto const data = Codec::chipStatusOf(text);
  Slice& slice = slices_[value[1]];
  auto const status = statusOf(slice, value.leaf());
  bool const isTooNew = data.genTime > configured(value);
  if (isTooNew) {
    tooNew_.insert(value);
  } else {
    tooNew_.erase(value);
    Kesh::System::currentTimeFloorIs(data.genTime);
    Codec::apply(data, *status);
  }
  insert(slice, status);
  if (isTooNew)
    throw JsonError("genTime", "is newer than the generation in config/" +
                                   (TreePath{value[1], value.leaf()}).valueText());
}

void StatusMount::valueGone(TreePath const& value) {
  tooNew_.erase(value);
  slices_[value[1]].dir->deleteEntity(entityName(value.leaf()));
}

void StatusMount::insert(Slice& slice, Ptr<ChipStatus> const& status) {
  if (!slice.dir->entityPtrHas(status->name())) slice.dir->entityIs(status);
}

Ptr<ChipStatus> StatusMount::statusOf(Slice& slice, std::string const& chip) {
  auto& status = slice.chips[chip];
  if (!status) status = Vunda::makeNode<ChipStatus>(entityName(chip));
  return status;
}

Vunda::Duration StatusMount::configured(TreePath const& value) const {
  auto const slice = Vunda::ptrCast<Dir>(configDir_->entityPtr(entityName(value[1])));
  if (!slice) return {};
  auto const config = Vunda::ptrCast<ChipConfig>(slice->entityPtr(entityName(value.leaf())));
  return config ? config->genTime() : Vunda::Duration();
}

void StatusMount::chipsAre(std::string const& sliceName, Central::SliceHwConfig const& config) {
  auto const slice = slices_.find(sliceName);
  if (slice == slices_.end()) return;
  for (auto at = config.chipConfig().iterator(); at; ++at)
    insert(slice->second, statusOf(slice->second, std::string(at.key().view())));
}

void StatusMount::chipConfigChanged(std::string const& slice, std::string const& chip) {
  if (lookAgain_ || !tooNew_.contains(base / slice / chip)) return;
  lookAgain_ = context_.loop.endOfTurn([this] {
    lookAgain_.reset();
    for (auto const& value : std::set<TreePath>(tooNew_)) reader_.lookAgain(value);
  });
}

}  // namespace Oru::Mount
