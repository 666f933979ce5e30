#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

#include "runtime/ringlog/Layout.h"
#include "runtime/ringlog/MsgId.h"
#include "runtime/ringlog/TraceFile.h"
#include "runtime/vunda/Export.h"

namespace Ringlog {

// The type codes of a message's arguments, in order; at most `maxArguments`.
class ORU_EXPORT MsgFormatString {
 public:
  MsgFormatString& put(TypeCode code) noexcept;
  std::string_view text() const noexcept { return {codes_.data(), count_}; }

 private:
  std::array<char, maxArguments> codes_{};
  std::size_t count_ = 0;
};

// Registers one call site's message in a trace file:
//
//   MsgDesc message(file, site.id(), __FILE__, __LINE__);
//   message.formatString().put(TypeCode::String).put(TypeCode::Double);
//   message.functionIs("handleRunning");
//   message.textIs(TextStyle::Braces, "Chip is initialized {} genTime {}");
//   bool const registered = message.finish();
class ORU_EXPORT MsgDesc {
 public:
  // `id` is the call site's; it outlives this object.
  MsgDesc(TraceFile& file, MsgId& id, std::string_view sourceFile, unsigned line);

  MsgFormatString& formatString() noexcept { return codes_; }
  void functionIs(std::string_view function) { function_ = function; }
  void textIs(TextStyle style, std::string_view text) {
    style_ = style;
    text_ = text;
  }

  // Assigns the site an id if it has none yet and writes the description. False when the file has
  // no room for it.
  bool finish();

 private:
  TraceFile& file_;
  MsgId& id_;
  std::string sourceFile_;
  unsigned line_;
  MsgFormatString codes_;
  std::string function_;
  std::string text_;
  TextStyle style_ = TextStyle::Braces;
};

}  // namespace Ringlog
