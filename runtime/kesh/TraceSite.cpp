#include "runtime/kesh/TraceSite.h"

#include "runtime/ringlog/Handle.h"
#include "runtime/ringlog/MsgDesc.h"

namespace Kesh::Impl {

namespace {

bool registerMessage(Ringlog::TraceFile& file, TracePlace const& place,
                     RingMessage const& message) {
  Ringlog::MsgDesc description(file, place.site->id(), place.file, place.line);
  for (char const code : message.codes) {
    description.formatString().put(static_cast<Ringlog::TypeCode>(code));
  }
  description.functionIs(place.function);
  description.textIs(message.style, message.text);
  return description.finish();
}

}  // namespace

Ringlog::Ring* readyRing(TraceHandle& handle, TracePlace const& place, RingMessage const& message) {
  handle.gate().enrol();
  Ringlog::TraceFile* const file = Ringlog::defaultRinglogFile();
  if (file == nullptr) return nullptr;
  Ringlog::MsgSite& site = *place.site;
  if (!file->isRegistered(site.id().value()) && !registerMessage(*file, place, message)) {
    file->countDroppedRecord();
    return nullptr;
  }
  Ringlog::Ring& ring = file->ring(place.level);
  site.readyForIs(&ring);
  return &ring;
}

}  // namespace Kesh::Impl
