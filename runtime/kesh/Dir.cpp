#include "runtime/kesh/Dir.h"

#include "runtime/kesh/MutatorException.h"
#include "runtime/kesh/TypeRegistry.h"

namespace Kesh {

using Vunda::Ptr;
using Vunda::String;

Ptr<Entity> Dir::createEntity(char const* type, String const& name) {
  if (Ptr<Entity> existing = entityPtr_.value(name)) return existing;
  TypeRegistry::Factory const factory = TypeRegistry::factory(type);
  if (!factory) throwUnknownType(type, name);
  Ptr<Entity> created = factory(name);
  entityIs(created);
  return created;
}

void Dir::entityIs(Ptr<Entity> const& given) {
  if (!given) throwMutatorArgNullPointerException(typeName, "entityPtr");
  Ptr<Entity> const entity = given;  // a callback may drop the caller's pointer
  String const& name = entity->name();
  Ptr<Entity> const replaced = entityPtr_.memberExchange(name, entity);
  if (replaced != entity) {
    if (replaced) replaced->handleParent(nullptr);
    entity->handleParent(Ptr<Entity>(this));
  }
  publisher_.publishChange(entityPtrField, &name, &entity);
}

Ptr<Entity> Dir::deleteEntity(String const& name) {
  String const kept = name;  // the name may be the entity's own
  Ptr<Entity> removed;
  if (!entityPtr_.deleteMember(kept, removed)) return nullptr;
  removed->handleParent(nullptr);
  publisher_.publishChange(entityPtrField, &kept, nullptr);
  return removed;
}

void Dir::lastUserGone() {
  static thread_local Dir* waiting = nullptr;
  static thread_local bool destroying = false;
  nextToGo_ = waiting;
  waiting = this;
  if (destroying) return;
  destroying = true;
  while (Dir* const next = waiting) {
    waiting = next->nextToGo_;
    delete next;
  }
  destroying = false;
}

}  // namespace Kesh
