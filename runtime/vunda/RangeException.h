#pragma once

#include <stdexcept>

#include "runtime/vunda/Export.h"

namespace Vunda {

// A value lies outside the range of its type.
class ORU_EXPORT RangeException : public std::out_of_range {
 public:
  using std::out_of_range::out_of_range;
  ~RangeException() override;

  [[noreturn]] static void throwException(char const* message);
};

}  // namespace Vunda
