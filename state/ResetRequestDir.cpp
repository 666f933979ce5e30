#include "state/ResetRequestDir.h"

#include "runtime/kesh/MutatorException.h"

namespace Oru::Central {

ResetRequestDir::~ResetRequestDir() = default;

void ResetRequestDir::resetRequestIs(Vunda::Ptr<ResetEntry> const& given) {
  if (!given) Kesh::throwMutatorArgNullPointerException(typeName, "resetRequest");
  Vunda::Ptr<ResetEntry> const entry = given;  // a callback may drop the caller's pointer
  resetRequest_.memberIs(entry->key(), entry);
  publisher_.publishChange(resetRequestField, &entry->key(), &entry);
}

void ResetRequestDir::resetRequestDel(ResetKey const& key) {
  publisher_.memberDel(resetRequestField, resetRequest_, key);
}

}  // namespace Oru::Central
