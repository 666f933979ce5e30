#include "runtime/vunda/Duration.h"

#include <ostream>

namespace Vunda {

std::ostream& operator<<(std::ostream& out, Duration duration) { return out << duration.seconds(); }

}  // namespace Vunda
