#include "state/SliceHwConfig.h"

#include "runtime/kesh/MutatorException.h"

namespace Oru::Central {

SliceHwConfig::~SliceHwConfig() = default;

void SliceHwConfig::genTimeIs(Vunda::Duration genTime) {
  publisher_.attributeIs(genTimeField, genTime_, genTime);
}

void SliceHwConfig::chipConfigIs(Vunda::Ptr<ChipHwConfig> const& given) {
  if (!given) Kesh::throwMutatorArgNullPointerException(typeName, "chipConfig");
  Vunda::Ptr<ChipHwConfig> const chip = given;  // a callback may drop the caller's pointer
  publisher_.memberIs(chipConfigField, chipConfig_, chip->name(), chip);
}

void SliceHwConfig::chipConfigDel(Vunda::String const& chip) {
  publisher_.memberDel(chipConfigField, chipConfig_, chip);
}

}  // namespace Oru::Central
