#include "state/ResetEntry.h"

namespace Oru::Central {

ResetEntry::~ResetEntry() = default;

Vunda::Publisher* ResetEntry::publisher() const { return &publisher_; }

template <class T>
void ResetEntry::attributeIs(Vunda::FieldId field, T& attribute, T const& value) {
  if (attribute == value) return;
  attribute = value;
  publisher_.publishChange(field, nullptr, &attribute);
}

void ResetEntry::resetCauseIs(Vunda::String const& resetCause) {
  attributeIs(resetCauseField, resetCause_, resetCause);
}

void ResetEntry::resetReasonIs(ResetReason resetReason) {
  attributeIs(resetReasonField, resetReason_, resetReason);
}

void ResetEntry::genTimeIs(Vunda::Duration genTime) {
  attributeIs(genTimeField, genTime_, genTime);
}

}  // namespace Oru::Central
