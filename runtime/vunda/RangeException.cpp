#include "runtime/vunda/RangeException.h"

namespace Vunda {

RangeException::~RangeException() = default;

void RangeException::throwException(char const* message) { throw RangeException(message); }

}  // namespace Vunda
