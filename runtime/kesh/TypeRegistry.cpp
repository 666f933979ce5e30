#include "runtime/kesh/TypeRegistry.h"

#include <string_view>
#include <vector>

#include "runtime/kesh/Dir.h"

namespace Kesh {

namespace {

struct Registered {
  Vunda::String name;
  TypeRegistry::Factory factory;
};

std::vector<Registered>& registeredTypes() {
  static std::vector<Registered> all{{Dir::typeName, [](Vunda::String const& name) {
                                        return Vunda::Ptr<Entity>(Vunda::makeNode<Dir>(name));
                                      }}};
  return all;
}

// Types are few and asked for by plain text: their names are compared one after the other, and
// seldom more of them than the length.
Registered* find(char const* typeName) {
  std::string_view const wanted = typeName ? typeName : "";
  for (Registered& type : registeredTypes()) {
    if (type.name.view() == wanted) return &type;
  }
  return nullptr;
}

}  // namespace

void TypeRegistry::typeIs(char const* typeName, Factory factory) {
  if (Registered* const known = find(typeName)) {
    known->factory = factory;
  } else {
    registeredTypes().push_back({typeName, factory});
  }
}

TypeRegistry::Factory TypeRegistry::factory(char const* typeName) {
  Registered const* const known = find(typeName);
  return known ? known->factory : nullptr;
}

}  // namespace Kesh
