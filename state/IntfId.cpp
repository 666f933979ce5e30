#include "state/IntfId.h"

#include <cstddef>
#include <vector>

#include "runtime/kesh/HashMap2018.h"

namespace Lanko {

namespace {

struct HN_Intf;

struct Interned {
  Kesh::HashMap2018<HN_Intf, Vunda::String, std::uint32_t> ids;
  std::vector<Vunda::String> names;  // by id; none has id 0
};

Interned& interned() {
  static Interned all;
  return all;
}

// A failed allocation leaves no id behind: the name stands in `ids` last, and the next attempt uses
// the same id.
std::uint32_t newId(Interned& all, Vunda::String const& name) {
  std::uint32_t const id = all.ids.size() + 1;
  all.names.resize(std::size_t{id} + 1);
  all.names[id] = name;
  all.ids.newMember(name, id);
  return id;
}

}  // namespace

void IntfId::handleInitialized(Vunda::String const& name) {
  id_ = 0;
  if (name.empty()) return;
  Interned& all = interned();
  std::uint32_t const* const known = all.ids.lookup(name);
  id_ = known ? *known : newId(all, name);
}

Vunda::String IntfId::name() const { return valid() ? interned().names[id_] : Vunda::String(); }

}  // namespace Lanko
