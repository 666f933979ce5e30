#pragma once

#include <cstdint>

#include <fmt/core.h>

#include "runtime/vunda/Export.h"
#include "runtime/vunda/Format.h"

namespace Kesh {
class TraceHandle;
}

namespace Vunda {

namespace Impl {

ORU_EXPORT void vfmtrace(Kesh::TraceHandle& handle, std::uint16_t level, char const* file,
                         char const* function, unsigned line, fmt::string_view format,
                         fmt::format_args args);

}  // namespace Impl

// Formats a message with "{}" placeholders and writes it to the handle's sink; the caller has
// tested the level. `function` is the short name of the handler. A message with a missing argument
// raises fmt::format_error.
template <typename... Args>
void fmtrace(Kesh::TraceHandle& handle, std::uint16_t level, char const* file, char const* function,
             unsigned line, fmt::string_view format, Args const&... args) {
  Impl::vfmtrace(handle, level, file, function, line, format, fmt::make_format_args(args...));
}

}  // namespace Vunda
