#include "state/ResetEntry.h"

namespace Oru::Central {

ResetEntry::~ResetEntry() = default;

Vunda::Publisher* ResetEntry::publisher() const { return &publisher_; }

void ResetEntry::resetCauseIs(Vunda::String const& resetCause) {
  publisher_.attributeIs(resetCauseField, resetCause_, resetCause);
}

void ResetEntry::resetReasonIs(ResetReason resetReason) {
  publisher_.attributeIs(resetReasonField, resetReason_, resetReason);
}

void ResetEntry::genTimeIs(Vunda::Duration genTime) {
  publisher_.attributeIs(genTimeField, genTime_, genTime);
}

}  // namespace Oru::Central
