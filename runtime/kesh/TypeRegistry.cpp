#include "runtime/kesh/TypeRegistry.h"

#include "runtime/kesh/Dir.h"
#include "runtime/kesh/HashMap2018.h"

namespace Kesh {

namespace {

struct HN_Factory;
using Factories = HashMap2018<HN_Factory, Vunda::String, TypeRegistry::Factory>;

Factories& factories() {
  static Factories all = [] {
    Factories initial;
    initial.newMember(Dir::typeName, [](Vunda::String const& name) -> Vunda::Ptr<Entity> {
      return Vunda::makeNode<Dir>(name);
    });
    return initial;
  }();
  return all;
}

}  // namespace

void TypeRegistry::typeIs(char const* typeName, Factory factory) {
  factories().memberIs(typeName, factory);
}

TypeRegistry::Factory TypeRegistry::factory(char const* typeName) {
  return factories().value(typeName);
}

}  // namespace Kesh
