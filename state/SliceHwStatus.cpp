#include "state/SliceHwStatus.h"

namespace Oru::Central {

SliceHwStatus::~SliceHwStatus() = default;

void SliceHwStatus::genTimeIs(Vunda::Duration genTime) {
  attributeIs(genTimeField, genTime_, genTime);
}

}  // namespace Oru::Central
