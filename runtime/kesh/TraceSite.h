#pragma once

#include <string_view>

#include "runtime/kesh/TraceHandle.h"
#include "runtime/ringlog/Layout.h"
#include "runtime/ringlog/MsgId.h"
#include "runtime/vunda/Export.h"

namespace Kesh {

// The level of the traces that mark the entry of a function.
inline constexpr unsigned entryLevel = 2;

// What the compiler knows of a trace call site, and where the site keeps its message id.
struct TracePlace {
  Ringlog::MsgSite* site;
  unsigned level;
  char const* file;
  unsigned line;
  char const* function;   // short name
  char const* signature;  // of the function whose entry is traced; null in other messages
};

namespace Impl {

// What a ring record's message says beside its place.
struct RingMessage {
  Ringlog::TextStyle style;
  std::string_view codes;
  std::string_view text;
};

// The ring that the site writes to, once its message is registered in the process's trace file.
// Null when there is no trace file or it has no room for the message (the record then counts as
// dropped). Enrols the handle's gate.
ORU_EXPORT Ringlog::Ring* readyRing(TraceHandle& handle, TracePlace const& place,
                                    RingMessage const& message);

}  // namespace Impl

}  // namespace Kesh
