#include "mount/ResetRequestMount.h"

#include "mount/Codec.h"
#include "mount/Names.h"
#include "runtime/kesh/System.h"

namespace Oru::Mount {

using Central::ResetEntry;
using Central::ResetRequestDir;

namespace {

TreePath const base{"reset", "request"};

}  // namespace

ResetRequestMount::ResetRequestMount(MountContext const& context,
                                     Vunda::Ptr<Kesh::Dir> const& resetRequestDir)
    : context_(context),
      resetRequestDir_(resetRequestDir),
      reader_(context.loop, context.backend, context.problems, base, TreeReader::Shape::directories,
              *this) {}

void ResetRequestMount::baseMissing() { context_.queue.makeDirectory(base); }

void ResetRequestMount::directoryIs(TreePath const& directory) {
  requesters_[directory.leaf()] = Vunda::makeNode<ResetRequestDir>(entityName(directory.leaf()));
}

void ResetRequestMount::directoryRead(TreePath const& directory) {
  resetRequestDir_->entityIs(requesters_[directory.leaf()]);
}

void ResetRequestMount::directoryGone(TreePath const& directory) {
  std::erase_if(requests_, [&](auto const& entry) { return entry.first.isWithin(directory); });
  requesters_.erase(directory.leaf());
  resetRequestDir_->deleteEntity(entityName(directory.leaf()));
}

void ResetRequestMount::valueIs(TreePath const& value, std::string const& text) {
  auto const data = Codec::resetOf(text, value.leaf());
  auto const requester = requesters_[value[2]];
  requests_[value] = data.key;
  // Chips that are reset for it are then younger than it is.
  Kesh::System::currentTimeFloorIs(data.genTime);
  if (auto const known = requester->resetRequest(data.key)) return Codec::apply(data, *known);
  auto const entry = Vunda::makeNode<ResetEntry>(data.key);
  Codec::apply(data, *entry);
  requester->resetRequestIs(entry);
}

void ResetRequestMount::valueGone(TreePath const& value) {
  auto const request = requests_.extract(value);
  if (request) requesters_[value[2]]->resetRequestDel(request.mapped());
}

}  // namespace Oru::Mount
