// The trace file reader against files that are changed in any way, also between two looks.
//
// The input lists changes to a small valid file: part (1 byte), offset in the part (2 bytes),
// count (1 byte), then that many bytes. Part 0xff stands for no change: the reader looks again.

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>
#include <string>

#include "runtime/ringlog/Layout.h"
#include "runtime/ringlog/MsgDesc.h"
#include "runtime/ringlog/Reader.h"
#include "runtime/ringlog/TraceFile.h"

namespace {

namespace Layout = Ringlog::Layout;
using Ringlog::TypeCode;

constexpr std::uint64_t ringBytes = 64 * 1024;
constexpr std::uint32_t messages = 64;
constexpr std::uint32_t descriptionBytes = 4096;
constexpr Layout::Sections sections(messages, descriptionBytes, Ringlog::levels, ringBytes);

void require(bool condition) {
  if (!condition) std::abort();
}

void writeRecords(Ringlog::TraceFile& file) {
  Ringlog::MsgId id;
  Ringlog::MsgDesc message(file, id, "source.cpp", 1);
  for (auto const code :
       {TypeCode::String, TypeCode::Double, TypeCode::Unsigned, TypeCode::Signed, TypeCode::Bool}) {
    message.formatString().put(code);
  }
  message.functionIs("function");
  message.textIs(Ringlog::TextStyle::Braces, "{} {:.3f} {{{}}} {} {}");
  require(message.finish());
  Ringlog::MsgId percentId;
  Ringlog::MsgDesc percent(file, percentId, "source.cpp", 2);
  percent.formatString().put(TypeCode::Unsigned).put(TypeCode::Double);
  percent.textIs(Ringlog::TextStyle::Percent, "%x %s");
  require(percent.finish());
  for (std::uint64_t i = 0; i < 40; ++i) {
    std::string const text(i, 'x');
    Ringlog::Ring& ring = file.ring(1 + static_cast<unsigned>(i % 3));
    Ringlog::Msg msg = ring.startMsg(id.value(), 2 + text.size() + 8 + 8 + 8 + 1);
    msg.put(std::string_view(text));
    msg.put(1.0 / static_cast<double>(i + 1));
    msg.put(i);
    msg.put(-static_cast<std::int64_t>(i));
    msg.put(i % 2 == 0);
    msg.endMsg();
    Ringlog::Msg other = ring.startMsg(percentId.value(), 16);
    other.put(i);
    other.put(0.5);
    other.endMsg();
  }
}

// The file under change, in memory.
class ChangedFile {
 public:
  ChangedFile() : fd_(memfd_create("trace", MFD_CLOEXEC)) {
    char folder[] = "/tmp/oru-fuzz-XXXXXX";
    require(fd_ >= 0 && mkdtemp(folder) != nullptr);
    std::string const path = std::string(folder) + "/trace";
    {
      Ringlog::TraceFile file(path, {ringBytes, messages, descriptionBytes});
      writeRecords(file);
    }
    good_.resize(sections.fileBytes);
    FILE* const in = std::fopen(path.c_str(), "rb");
    require(in != nullptr && std::fread(good_.data(), 1, good_.size(), in) == good_.size());
    std::fclose(in);
    std::remove(path.c_str());
    rmdir(folder);
    restore();
  }

  int fd() const { return fd_; }

  void restore() {
    require(pwrite(fd_, good_.data(), good_.size(), 0) == static_cast<ssize_t>(good_.size()));
  }

  void change(std::uint8_t part, std::uint16_t offset, std::span<std::uint8_t const> bytes) {
    std::uint64_t const at = begin(part) + offset;
    if (at + bytes.size() > good_.size()) return;
    require(pwrite(fd_, bytes.data(), bytes.size(), static_cast<off_t>(at)) ==
            static_cast<ssize_t>(bytes.size()));
  }

 private:
  static std::uint64_t begin(std::uint8_t part) {
    std::uint64_t const begins[] = {0, sections.ids, sections.descriptions};
    if (part < std::size(begins)) return begins[part];
    // Control page and data of the first rings by turns.
    unsigned const ring = (part - std::size(begins)) / 2 % 4;
    std::uint64_t const control = sections.rings + ring * sections.ringStride;
    return part % 2 == 1 ? control : control + Layout::pageBytes;
  }

  int fd_;
  std::string good_;
};

void giveOutAll(Ringlog::Reader& reader) {
  Ringlog::Record record;
  std::size_t count = 0;
  while (reader.next(record)) {
    require(record.arguments.size() <= Ringlog::maxArguments);
    require(record.level >= 1 && record.level <= Ringlog::levels);
    ++count;
  }
  require(count <= Ringlog::levels * ringBytes / sizeof(Layout::RecordHeader));
  require(reader.damage().size() <= Ringlog::Reader::maxDamage);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  static ChangedFile file;
  std::span<std::uint8_t const> input(data, size);
  file.restore();
  try {
    Ringlog::Reader reader(file.fd(), "fuzzed");
    giveOutAll(reader);
    while (input.size() >= 4) {
      std::uint8_t const part = input[0];
      auto const offset = static_cast<std::uint16_t>(input[1] | input[2] << 8);
      std::size_t const count = std::min<std::size_t>(input[3], input.size() - 4);
      if (part == 0xff) {
        reader.refresh();
        giveOutAll(reader);
      } else {
        file.change(part, offset, input.subspan(4, count));
      }
      input = input.subspan(4 + count);
    }
    reader.refresh();
    giveOutAll(reader);
  } catch (Ringlog::ReadError const&) {
  }
  try {
    Ringlog::Reader reader(file.fd(), "fuzzed");
    giveOutAll(reader);
  } catch (Ringlog::ReadError const&) {
  }
  return 0;
}
