#include "state/DeviceId.h"

#include "runtime/vunda/RangeException.h"

namespace Oru::Central {

void DeviceId::throwRange() {
  Vunda::RangeException::throwException(
      "Oru::Central::DeviceId::value < Oru::Central::DeviceId::min or > "
      "Oru::Central::DeviceId::null not allowed");
}

}  // namespace Oru::Central
