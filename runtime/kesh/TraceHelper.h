#pragma once

#include <ostream>
#include <sstream>

#include "runtime/kesh/TraceHandle.h"
#include "runtime/vunda/Export.h"

namespace Kesh {

// Collects one text line and writes it at a level when it goes out of scope:
//
//   TraceHelper(handle, 2, __FILE__, __LINE__, __func__).stream() << "creating " << name;
//
// Nothing is written while the level is off. Booleans print as true and false. Pointers given
// outlive the object.
class ORU_EXPORT TraceHelper {
 public:
  TraceHelper(TraceHandle& handle, unsigned level, char const* file, unsigned line,
              char const* function);
  ~TraceHelper();
  TraceHelper(TraceHelper const&) = delete;
  TraceHelper& operator=(TraceHelper const&) = delete;

  std::ostream& stream() noexcept { return stream_; }

 private:
  TraceHandle& handle_;
  unsigned level_;
  char const* file_;
  unsigned line_;
  char const* function_;
  std::ostringstream stream_;
};

}  // namespace Kesh
