#include "state/IntfId.h"

#include <vector>

#include "runtime/kesh/HashMap2018.h"

namespace Lanko {

namespace {

struct HN_Intf;

struct Interned {
  Kesh::HashMap2018<HN_Intf, Vunda::String, std::uint32_t> ids;
  std::vector<Vunda::String> names{Vunda::String()};  // by id; 0 is the invalid one
};

Interned& interned() {
  static Interned all;
  return all;
}

std::uint32_t newId(Interned& all, Vunda::String const& name) {
  auto const id = static_cast<std::uint32_t>(all.names.size());
  all.names.reserve(all.names.size() + 1);
  all.ids.newMember(name, id);
  all.names.push_back(name);
  return id;
}

}  // namespace

void IntfId::handleInitialized(Vunda::String const& name) {
  if (name.empty()) {
    id_ = 0;
    return;
  }
  Interned& all = interned();
  std::uint32_t const* const known = all.ids.lookup(name);
  id_ = known ? *known : newId(all, name);
}

Vunda::String IntfId::name() const { return interned().names[id_]; }

}  // namespace Lanko
