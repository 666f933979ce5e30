#include "mount/DirWatch.h"

#include <utility>

namespace Oru::Mount {

DirWatch::DirWatch(Vunda::Ptr<Kesh::Dir> const& dir, Reactions reactions)
    : dir_(dir), reactions_(std::move(reactions)) {
  watch_ = watchNode(*dir_, [this](Vunda::FieldId field, void const* key) {
    if (field == Kesh::Dir::entityPtrField) look(*static_cast<Vunda::String const*>(key));
  });
  for (auto at = dir_->entityPtrIterator(); at; ++at) look(at.name());
}

void DirWatch::look(Vunda::String const& name) {
  std::string const text(name.view());
  auto const entity = dir_->entityPtr(name);
  auto const known = known_.find(text);
  if (known != known_.end() && known->second == entity) return;
  if (known != known_.end()) {
    known_.erase(known);
    reactions_.gone(text);
  }
  if (entity && known_.emplace(text, entity).second) reactions_.added(text, entity);
}

}  // namespace Oru::Mount
