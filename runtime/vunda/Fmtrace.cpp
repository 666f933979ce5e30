#include "runtime/vunda/Fmtrace.h"

#include <iterator>

#include "runtime/kesh/TraceHandle.h"

namespace Vunda::Impl {

void vfmtrace(Kesh::TraceHandle& handle, std::uint16_t level, char const* file,
              char const* function, unsigned line, fmt::string_view format, fmt::format_args args) {
  fmt::memory_buffer text;
  fmt::vformat_to(std::back_inserter(text), format, args);
  handle.write(level, file, line, function, {text.data(), text.size()});
}

}  // namespace Vunda::Impl
