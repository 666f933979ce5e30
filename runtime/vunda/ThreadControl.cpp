#include "runtime/vunda/ThreadControl.h"

namespace Vunda {

constinit std::uint8_t ThreadControl::tsp_ = 0;

}  // namespace Vunda
