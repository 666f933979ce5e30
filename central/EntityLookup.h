#pragma once

#include "runtime/kesh/Dir.h"
#include "runtime/vunda/Ptr.h"

namespace Oru::Central {

// The entity of that name as a T. Null when the directory is null, has no such entity, or has one
// of another type.
template <class T, class D>
Vunda::Ptr<T> entityAs(Vunda::Ptr<D> const& dir, Vunda::String const& name) {
  return dir ? Vunda::ptrCast<T>(dir->entityPtr(name)) : nullptr;
}

// Whether the directory has an entity of that name, of whatever type. A null directory has none.
template <class D>
bool entityIn(Vunda::Ptr<D> const& dir, Vunda::String const& name) {
  return dir && dir->entityPtrHas(name);
}

}  // namespace Oru::Central
