#include "helper/OruBaseHelper.h"

#include <iostream>

#include "runtime/vunda/Assert.h"

namespace Oru {

OruBaseHelper::~OruBaseHelper() = default;

void OruBaseHelper::oruAssert(Vunda::String const& message) const {
  std::cerr << message << std::endl;
  ORU_ASSERT(false);
}

}  // namespace Oru
