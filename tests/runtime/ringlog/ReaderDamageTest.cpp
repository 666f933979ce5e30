// The reader against files that are cut, flipped, or made to mislead it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <random>
#include <string>

#include "runtime/ringlog/Layout.h"
#include "runtime/ringlog/MsgDesc.h"
#include "runtime/ringlog/Reader.h"
#include "tests/runtime/ringlog/TestMessage.h"
#include "tests/support/RingTrace.h"

namespace {

using OruTest::recordsOf;
using OruTest::TestMessage;
using Ringlog::Reader;
using Ringlog::ReadError;
using testing::HasSubstr;
using testing::IsEmpty;
namespace Layout = Ringlog::Layout;

// A file in memory whose bytes a test changes at will.
class MemoryFile {
 public:
  explicit MemoryFile(std::string const& bytes) : fd_(memfd_create("trace", MFD_CLOEXEC)) {
    write(0, bytes.data(), bytes.size());
  }
  ~MemoryFile() { close(fd_); }
  MemoryFile(MemoryFile const&) = delete;
  MemoryFile& operator=(MemoryFile const&) = delete;

  int fd() const { return fd_; }
  void write(std::size_t offset, void const* bytes, std::size_t count) {
    ASSERT_EQ(pwrite(fd_, bytes, count, static_cast<off_t>(offset)), static_cast<ssize_t>(count));
  }
  template <typename T>
  void put(std::size_t offset, T value) {
    write(offset, &value, sizeof value);
  }
  void sizeIs(std::size_t bytes) { ASSERT_EQ(ftruncate(fd_, static_cast<off_t>(bytes)), 0); }

 private:
  int fd_;
};

class ReaderDamageTest : public testing::Test {
 protected:
  static constexpr std::uint32_t messages = 8192;
  static constexpr std::uint64_t ringBytes = 64 * 1024;
  static constexpr std::int64_t written = 20;
  static constexpr Layout::Sections sections{messages, 4096, Ringlog::levels, ringBytes};
  static constexpr std::uint64_t control = sections.rings + 2 * sections.ringStride;  // of level 3
  static constexpr std::uint64_t data = control + Layout::pageBytes;

  static void SetUpTestSuite() {
    OruTest::TemporaryFolder const folder;
    Ringlog::TraceFileSizes sizes;
    sizes.ringBytes = ringBytes;
    sizes.messages = messages;
    sizes.descriptionBytes = 4096;
    Ringlog::TraceFile file(folder / "trace", sizes);
    TestMessage message("value");
    for (std::int64_t value = 0; value < written; ++value) message.write(file, 3, value);
    messageId_ = message.id();
    std::ifstream in(folder / "trace", std::ios::binary);
    good_.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    ASSERT_EQ(good_.size(), sections.fileBytes);
  }

  // Reads all that can be read; returns how many records, or -1 when the file is refused.
  int readAll() {
    try {
      Reader reader(file_.fd(), "memory");
      int const count = static_cast<int>(recordsOf(reader).size());
      reader.refresh();
      return count + static_cast<int>(recordsOf(reader).size());
    } catch (ReadError const& error) {
      EXPECT_THAT(error.what(), HasSubstr("trace file \"memory\", offset " +
                                          std::to_string(error.offset()) + ": "));
      return -1;
    }
  }

  std::string errorText() {
    try {
      Reader const reader(file_.fd(), "memory");
    } catch (ReadError const& error) {
      return error.what();
    }
    return "no error";
  }

  static std::size_t idWord(std::int32_t id) {
    return sections.ids + static_cast<std::size_t>(id) * 4;
  }

  inline static std::string good_;
  inline static std::int32_t messageId_ = 0;
  MemoryFile file_{good_};
};

TEST_F(ReaderDamageTest, UndamagedFileReadsWhole) { EXPECT_EQ(readAll(), written); }

TEST_F(ReaderDamageTest, FileCutAnywhereIsRefusedWithTheOffset) {
  for (std::size_t size = good_.size() - 1;; size -= size > 4200 ? 97 : 1) {
    file_.sizeIs(size);
    try {
      Reader const reader(file_.fd(), "memory");
      FAIL() << "read a file of " << size << " bytes";
    } catch (ReadError const& error) {
      ASSERT_EQ(error.offset(), size);
    }
    if (size == 0) break;
  }
}

TEST_F(ReaderDamageTest, FileThatShrinksWhileItIsReadIsAnError) {
  Reader reader(file_.fd(), "memory");
  recordsOf(reader);
  file_.sizeIs(data + 8);
  EXPECT_THROW(reader.refresh(), ReadError);
}

TEST_F(ReaderDamageTest, HeaderBytesChangedNeverCrash) {
  int refused = 0;
  for (std::size_t offset = 0; offset < sizeof(Layout::FileHeader); ++offset) {
    for (int const flip : {0x01, 0x10, 0x80, 0xff}) {
      auto const before = static_cast<unsigned char>(good_[offset]);
      file_.put(offset, static_cast<unsigned char>(before ^ flip));
      int const records = readAll();
      EXPECT_TRUE(records == -1 || records == written) << "offset " << offset;
      refused += records == -1 ? 1 : 0;
      file_.put(offset, before);
    }
  }
  // Magic, byte order, version and sizes: 8 + 4 + 4 + 8 + 8 + 4 + 4 + 4 bytes.
  EXPECT_EQ(refused, 44 * 4);
}

TEST_F(ReaderDamageTest, RingBytesChangedCostAtMostTheRecordsThatHeldThem) {
  constexpr std::size_t recordBytes = 24;
  for (std::size_t offset = 0; offset < written * recordBytes; ++offset) {
    auto const before = static_cast<unsigned char>(good_[data + offset]);
    file_.put(data + offset, static_cast<unsigned char>(before ^ 0x5a));
    EXPECT_GE(readAll(), written - 1) << "offset " << offset;
    file_.put(data + offset, before);
  }
}

TEST_F(ReaderDamageTest, DamagedRecordIsListedWithItsOffset) {
  file_.put(data + 48, std::uint64_t{0});
  Reader reader(file_.fd(), "memory");
  EXPECT_EQ(recordsOf(reader).size(), written - 1u);
  ASSERT_EQ(reader.damage().size(), 1u);
  EXPECT_EQ(reader.damage()[0].offset, data + 48);
  EXPECT_EQ(reader.damage()[0].bytes, 24u);
  EXPECT_EQ(reader.damage()[0].reason, "no complete record where one was begun");
}

TEST_F(ReaderDamageTest, ListOfDamageIsBounded) {
  file_.put(control, std::uint64_t{60000});
  for (std::size_t offset = 0; offset < 60000; offset += 48) {
    std::string const record = good_.substr(data, 24);
    std::uint64_t const tag =
        (static_cast<std::uint64_t>(static_cast<std::uint32_t>(messageId_)) << 48) + offset + 24;
    file_.put(data + offset, tag);
    file_.put(data + offset + 24, std::uint64_t{0});
  }
  Reader reader(file_.fd(), "memory");
  EXPECT_EQ(recordsOf(reader).size(), 60000u / 48);
  EXPECT_EQ(reader.damage().size(), Reader::maxDamage);
}

TEST_F(ReaderDamageTest, ImpossibleRingControlCostsThatRingAlone) {
  struct Case {
    std::uint64_t position;
    std::uint64_t mask;
  };
  for (Case const& bad : {Case{written * 24 + 1, ringBytes - 1}, Case{24, ringBytes}, Case{24, 0},
                          Case{~std::uint64_t{0}, ringBytes - 1}}) {
    file_.put(control, bad.position);
    file_.put(control + 8, bad.mask);
    Reader reader(file_.fd(), "memory");
    EXPECT_THAT(recordsOf(reader), IsEmpty());
    ASSERT_EQ(reader.damage().size(), 1u);
    EXPECT_EQ(reader.damage()[0].offset, control);
  }
}

TEST_F(ReaderDamageTest, PositionFarBeyondTheDataFindsNoRecord) {
  for (std::uint64_t const position :
       {std::uint64_t{1} << 40, std::uint64_t{0} - 8, std::uint64_t{1} << 63, ringBytes * 2}) {
    file_.put(control, position);
    EXPECT_EQ(readAll(), 0);
  }
}

TEST_F(ReaderDamageTest, PositionThatGoesBackIsDamage) {
  Reader reader(file_.fd(), "memory");
  recordsOf(reader);
  file_.put(control, std::uint64_t{24});
  reader.refresh();
  EXPECT_THAT(recordsOf(reader), IsEmpty());
  EXPECT_EQ(reader.damage().size(), 1u);
}

TEST_F(ReaderDamageTest, IdThatPointsAnywhereNeverCrashes) {
  for (std::uint32_t const offset :
       {0u, 1u, 4096u, static_cast<std::uint32_t>(sections.descriptions) - 1,
        static_cast<std::uint32_t>(sections.descriptions) + 4096 - 11,
        static_cast<std::uint32_t>(sections.descriptions) + 4096, 0xffffffffu}) {
    file_.put(idWord(messageId_), offset);
    EXPECT_EQ(readAll(), 0) << offset;
  }
}

TEST_F(ReaderDamageTest, DescriptionBytesChangedNeverCrash) {
  std::uint32_t at = 0;
  std::memcpy(&at, good_.data() + idWord(messageId_), sizeof at);
  for (std::size_t offset = at; offset < at + 64; ++offset) {
    for (int value = 0; value < 256; value += 5) {
      file_.put(offset, static_cast<unsigned char>(value));
      // Another type code may fit some of the records.
      int const records = readAll();
      EXPECT_TRUE(records >= 0 && records <= written) << offset << " " << value;
    }
    file_.put(offset, good_[offset]);
  }
}

TEST_F(ReaderDamageTest, LengthsOfADescriptionThatRunOverItsAreaAreRefused) {
  std::uint32_t at = 0;
  std::memcpy(&at, good_.data() + idWord(messageId_), sizeof at);
  for (std::size_t const field : {4u, 6u, 8u}) {
    file_.put(at + field, std::uint16_t{0xffff});
    EXPECT_EQ(readAll(), 0);
    std::uint16_t before = 0;
    std::memcpy(&before, good_.data() + at + field, sizeof before);
    file_.put(at + field, before);
  }
  file_.put(at + 10, std::uint8_t{17});
  EXPECT_EQ(readAll(), 0);
}

TEST_F(ReaderDamageTest, RecordWhoseTextRunsOverItsEndIsRefused) {
  // The message's one argument becomes a text, whose length the old values give.
  std::uint32_t at = 0;
  std::memcpy(&at, good_.data() + idWord(messageId_), sizeof at);
  std::size_t const codes = at + 12 + sizeof("tests/X.cpp") - 1 + sizeof("test") - 1;
  ASSERT_EQ(good_[codes], 'i');
  file_.put(codes, 'p');
  // Values 0 to 6 fit into the 8 bytes of a record with the right size, and are padded to it.
  EXPECT_EQ(readAll(), 7);
}

TEST_F(ReaderDamageTest, ClockPairsOfAnyValueGiveSomeTime) {
  std::mt19937_64 random(7);
  for (int i = 0; i < 200; ++i) {
    for (std::size_t offset = offsetof(Layout::FileHeader, opened); offset < 112; offset += 8) {
      file_.put(offset, i % 3 == 0 ? ~std::uint64_t{0} >> (random() % 64) : random());
    }
    file_.put(data + 8, random());
    EXPECT_EQ(readAll(), written);
  }
}

TEST_F(ReaderDamageTest, RandomBytesInTheWholeFileNeverCrash) {
  std::mt19937_64 random(11);
  for (int round = 0; round < 300; ++round) {
    MemoryFile file(good_);
    for (int i = 0; i < 40; ++i) {
      std::size_t const spread = i % 2 == 0 ? sections.descriptions + 256 : good_.size() - 8;
      file.put(random() % spread, static_cast<unsigned char>(random()));
    }
    try {
      Reader reader(file.fd(), "memory");
      EXPECT_LE(recordsOf(reader).size(), static_cast<std::size_t>(written));
    } catch (ReadError const&) {
      // refused: as good
    }
  }
}

TEST_F(ReaderDamageTest, ErrorsNameFileOffsetAndReason) {
  file_.put(0, 'X');
  EXPECT_EQ(errorText(), "trace file \"memory\", offset 0: not a trace file");
  file_.put(0, 'R');
  file_.put(8, std::uint32_t{0x04030201});
  EXPECT_EQ(errorText(), "trace file \"memory\", offset 8: written in another byte order");
  file_.put(8, std::uint32_t{0x01020304});
  file_.put(12, std::uint32_t{2});
  EXPECT_EQ(errorText(), "trace file \"memory\", offset 12: version 2 is not known");
  file_.put(12, std::uint32_t{1});
  file_.put(16, std::uint64_t{4096});
  EXPECT_EQ(errorText(),
            "trace file \"memory\", offset 16: the file's size does not agree with its parts");
}

TEST(ReaderOpen, WhatIsNoTraceFileIsRefused) {
  OruTest::TemporaryFolder const folder;
  std::ofstream(folder / "text") << std::string(5000, 'x');
  std::ofstream(folder / "empty").flush();
  EXPECT_THROW(Reader(folder / "missing"), ReadError);
  EXPECT_THROW(Reader(folder / "text"), ReadError);
  EXPECT_THROW(Reader(folder / "empty"), ReadError);
  EXPECT_THROW(Reader(folder.path().string()), ReadError);
  ASSERT_EQ(mkfifo((folder / "fifo").c_str(), 0600), 0);
  EXPECT_THROW(Reader(folder / "fifo"), ReadError);
  try {
    Reader const reader(folder / "missing");
  } catch (ReadError const& error) {
    EXPECT_EQ(std::string(error.what()),
              "trace file \"" + (folder / "missing") +
                  "\", offset 0: cannot open: No such file or directory");
  }
}

TEST(ReaderOpen, HugeSparseFileCostsNoMemoryBeyondItsParts) {
  MemoryFile file(std::string(1, '\0'));
  Layout::Sections const sections(65536, 4096, 16, Layout::maxRingBytes);
  Layout::FileHeader header{};
  std::memcpy(header.magic, Layout::magic, sizeof header.magic);
  header.byteOrder = Layout::byteOrderMark;
  header.version = Layout::version;
  header.fileBytes = sections.fileBytes;
  header.ringBytes = Layout::maxRingBytes;
  header.ringCount = 16;
  header.messageCapacity = 65536;
  header.descriptionBytes = 4096;
  file.put(0, header);
  file.sizeIs(sections.fileBytes);
  for (unsigned ring = 0; ring < 16; ++ring) {
    file.put(sections.rings + ring * sections.ringStride + 8, Layout::maxRingBytes - 1);
  }
  Reader reader(file.fd(), "memory");
  EXPECT_THAT(recordsOf(reader), IsEmpty());
}

}  // namespace
