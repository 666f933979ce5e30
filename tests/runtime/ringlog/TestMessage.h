#pragma once

#include <cstdint>
#include <string>

#include "runtime/ringlog/MsgDesc.h"
#include "runtime/ringlog/RingValue.h"
#include "runtime/ringlog/TraceFile.h"

namespace OruTest {

// A message with one signed argument, "<text> {}", written without a call site.
class TestMessage {
 public:
  explicit TestMessage(std::string text) : text_(std::move(text) + " {}") {}

  // Registers the message where it is not, and writes a record.
  void write(Ringlog::TraceFile& file, unsigned level, std::int64_t value) {
    registerIn(file);
    Ringlog::Msg msg = file.ring(level).startMsg(id(), Ringlog::encodedBytes(value));
    msg.put(value);
    msg.endMsg();
  }

  void registerIn(Ringlog::TraceFile& file) {
    if (file.isRegistered(id_.value())) return;
    Ringlog::MsgDesc message(file, id_, "tests/X.cpp", 7);
    message.formatString().put(Ringlog::TypeCode::Signed);
    message.functionIs("test");
    message.textIs(Ringlog::TextStyle::Braces, text_);
    message.finish();
  }

  std::int32_t id() const { return id_.value(); }

 private:
  std::string text_;
  Ringlog::MsgId id_;
};

}  // namespace OruTest
