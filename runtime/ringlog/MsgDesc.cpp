#include "runtime/ringlog/MsgDesc.h"

#include <cstdint>
#include <mutex>

#include "runtime/vunda/Assert.h"

namespace Ringlog {

namespace {

constinit std::mutex idMutex;
constinit std::int32_t lastId = 0;

// The site's id, given to it now if it has none.
std::int32_t ensuredId(MsgId& id) {
  std::lock_guard const lock(idMutex);
  if (id.value() == 0) id.valueIs(++lastId);
  return id.value();
}

}  // namespace

MsgFormatString& MsgFormatString::put(TypeCode code) noexcept {
  ORU_ASSERT(count_ < maxArguments);
  codes_[count_++] = static_cast<char>(code);
  return *this;
}

MsgDesc::MsgDesc(TraceFile& file, MsgId& id, std::string_view sourceFile, unsigned line)
    : file_(file), id_(id), sourceFile_(sourceFile.substr(0, maxNameBytes)), line_(line) {}

bool MsgDesc::finish() {
  function_.resize(std::min(function_.size(), maxNameBytes));
  text_.resize(std::min(text_.size(), maxTextBytes));
  Layout::Description const description{line_,
                                        static_cast<std::uint16_t>(sourceFile_.size()),
                                        static_cast<std::uint16_t>(function_.size()),
                                        static_cast<std::uint16_t>(text_.size()),
                                        static_cast<std::uint8_t>(codes_.text().size()),
                                        style_};
  std::string texts = sourceFile_;
  texts.append(function_).append(codes_.text()).append(text_);
  bool const described = file_.describe(ensuredId(id_), description, texts);
  if (described) file_.calibrate();
  return described;
}

}  // namespace Ringlog
