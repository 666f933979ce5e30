#pragma once

#include "runtime/kesh/Entity.h"

namespace Kesh {

// The entity types that a directory can create by name. A type is registered explicitly, by the
// name that callers of Dir::createEntity use; registering a name again replaces its factory.
// `Kesh::Dir` is always registered.
class ORU_EXPORT TypeRegistry {
 public:
  using Factory = Vunda::Ptr<Entity> (*)(Vunda::String const& entityName);

  static void typeIs(char const* typeName, Factory factory);
  // The factory of a type; null when no such type is registered.
  static Factory factory(char const* typeName);

  // Registers an entity class under its `typeName`.
  template <class T>
  static void typeIs() {
    typeIs(T::typeName, [](Vunda::String const& name) -> Vunda::Ptr<Entity> {
      return Vunda::makeNode<T>(name);
    });
  }
};

}  // namespace Kesh
