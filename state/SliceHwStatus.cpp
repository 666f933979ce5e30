#include "state/SliceHwStatus.h"

namespace Oru::Central {

SliceHwStatus::~SliceHwStatus() = default;

void SliceHwStatus::genTimeIs(Vunda::Duration genTime) {
  publisher_.attributeIs(genTimeField, genTime_, genTime);
}

}  // namespace Oru::Central
