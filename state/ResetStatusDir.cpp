#include "state/ResetStatusDir.h"

namespace Oru::Central {

ResetStatusDir::~ResetStatusDir() = default;

Vunda::Ptr<ResetEntry> ResetStatusDir::resetStatusIs(ResetKey const& key) {
  if (auto existing = resetStatus_.value(key)) return existing;
  auto const entry = Vunda::makeNode<ResetEntry>(key);
  publisher_.memberIs(resetStatusField, resetStatus_, entry->key(), entry);
  return entry;
}

void ResetStatusDir::resetStatusDel(ResetKey const& key) {
  publisher_.memberDel(resetStatusField, resetStatus_, key);
}

}  // namespace Oru::Central
