// The format page, held against the declarations and, in its worked example, against what the writer
// writes.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "runtime/ringlog/Layout.h"
#include "runtime/ringlog/MsgDesc.h"
#include "runtime/ringlog/TraceFile.h"
#include "tests/support/RingTrace.h"

namespace {

using namespace Ringlog::Layout;

// The lines of the page's section of that title.
std::vector<std::string> section(std::string const& title) {
  std::ifstream page(ORU_SOURCE_DIR "/docs/ring-trace-format.md");
  std::vector<std::string> lines;
  bool inside = false;
  for (std::string line; std::getline(page, line);) {
    if (line.starts_with("## ")) inside = line == "## " + title;
    if (inside) lines.push_back(line);
  }
  EXPECT_FALSE(lines.empty()) << title;
  return lines;
}

// Offset and size.
using Place = std::pair<std::size_t, std::size_t>;
using Fields = std::map<std::string, Place>;

// The fields of a section's first table: offset, size, name.
Fields fieldsOfThePage(std::string const& title) {
  std::regex const rowPattern(R"(\| (\d+) \| (\d+) \| `(\w+)` \|.*)");
  Fields fields;
  for (std::string const& line : section(title)) {
    std::smatch match;
    if (!std::regex_match(line, match, rowPattern)) continue;
    fields[match[3].str()] = {std::stoul(match[1].str()), std::stoul(match[2].str())};
  }
  return fields;
}

template <class T>
Place place(std::size_t offset, T const& field) {
  return {offset, sizeof field};
}
#define PLACE(Struct, field) place(offsetof(Struct, field), Struct().field)

TEST(FormatPage, FieldsOfTheHeaderStandWhereTheyAreDeclared) {
  EXPECT_EQ(fieldsOfThePage("Header"),
            (Fields{{"magic", PLACE(FileHeader, magic)},
                    {"byteOrder", PLACE(FileHeader, byteOrder)},
                    {"version", PLACE(FileHeader, version)},
                    {"fileBytes", PLACE(FileHeader, fileBytes)},
                    {"ringBytes", PLACE(FileHeader, ringBytes)},
                    {"ringCount", PLACE(FileHeader, ringCount)},
                    {"messageCapacity", PLACE(FileHeader, messageCapacity)},
                    {"descriptionBytes", PLACE(FileHeader, descriptionBytes)},
                    {"descriptionUsed", PLACE(FileHeader, descriptionUsed)},
                    {"processId", PLACE(FileHeader, processId)},
                    {"clockKind", PLACE(FileHeader, clockKind)},
                    {"recordsDropped", PLACE(FileHeader, recordsDropped)},
                    {"opened", PLACE(FileHeader, opened)},
                    {"latest", PLACE(FileHeader, latest)},
                    {"latestCount", PLACE(FileHeader, latestCount)}}));
  EXPECT_EQ(PLACE(ClockPair, ticks), Place(0, 8));
  EXPECT_EQ(PLACE(ClockPair, wallNanoseconds), Place(8, 8));
}

TEST(FormatPage, FieldsOfDescriptionsRingsAndRecordsStandWhereTheyAreDeclared) {
  EXPECT_EQ(fieldsOfThePage("Id table and descriptions"),
            (Fields{{"line", PLACE(Description, line)},
                    {"fileBytes", PLACE(Description, fileBytes)},
                    {"functionBytes", PLACE(Description, functionBytes)},
                    {"textBytes", PLACE(Description, textBytes)},
                    {"codeCount", PLACE(Description, codeCount)},
                    {"style", PLACE(Description, style)}}));
  EXPECT_EQ(fieldsOfThePage("Ring"), (Fields{{"position", PLACE(RingControl, position)},
                                             {"mask", PLACE(RingControl, mask)}}));
  EXPECT_EQ(fieldsOfThePage("Record"),
            (Fields{{"tag", PLACE(RecordHeader, tag)}, {"ticks", PLACE(RecordHeader, ticks)}}));
}

TEST(FormatPage, NamesTheTypeCodesAndClocksOfThisVersion) {
  using Ringlog::TypeCode;
  std::string codes;
  for (std::string const& line : section("Id table and descriptions")) {
    std::smatch match;
    if (std::regex_match(line, match, std::regex(R"(\| `(\w)` \|.*)"))) codes += match[1].str();
  }
  EXPECT_EQ(codes,
            (std::string{static_cast<char>(TypeCode::String), static_cast<char>(TypeCode::Double),
                         static_cast<char>(TypeCode::Unsigned), static_cast<char>(TypeCode::Signed),
                         static_cast<char>(TypeCode::Bool)}));
  EXPECT_EQ(static_cast<int>(ClockKind::TimeStampCounter), 1);
  EXPECT_EQ(static_cast<int>(ClockKind::VirtualCounter), 2);
  EXPECT_EQ(static_cast<int>(ClockKind::MonotonicClock), 3);
}

struct Row {
  std::size_t offset;
  std::vector<std::string> bytes;  // two hexadecimal digits, or ".."
};

// The rows of the page's tables whose first two columns are an offset and bytes.
std::vector<Row> rowsOfThePage() {
  std::regex const rowPattern(R"(\| (\d+) \| ((?:(?:[0-9a-f]{2}|\.\.) ?)+) \|.*)");
  std::vector<Row> rows;
  for (std::string const& line : section("One record, byte by byte")) {
    std::smatch match;
    if (!std::regex_match(line, match, rowPattern)) continue;
    std::istringstream bytes(match[2].str());
    rows.push_back(
        {std::stoul(match[1].str()),
         {std::istream_iterator<std::string>(bytes), std::istream_iterator<std::string>()}});
  }
  return rows;
}

std::string writtenFile() {
  OruTest::TemporaryFolder const folder;
  {
    Ringlog::TraceFileSizes sizes;
    sizes.ringBytes = 65536;
    sizes.messages = 16;
    sizes.descriptionBytes = 4096;
    Ringlog::TraceFile file(folder / "trace", sizes);
    Ringlog::MsgId id(1);
    Ringlog::MsgDesc message(file, id, "central/X.cpp", 88);
    message.formatString().put(Ringlog::TypeCode::String).put(Ringlog::TypeCode::Double);
    message.functionIs("run");
    message.textIs(Ringlog::TextStyle::Braces, "Chip {} genTime {}");
    EXPECT_TRUE(message.finish());
    std::string_view const name = "Chip1";
    Ringlog::Msg msg = file.ring(3).startMsg(
        id.value(), Ringlog::encodedBytes(name) + Ringlog::encodedBytes(12.5));
    msg.put(name);
    msg.put(12.5);
    msg.endMsg();
  }
  std::ifstream in(folder / "trace", std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

TEST(FormatPage, WorkedExampleIsWhatTheWriterWrites) {
  std::vector<Row> const rows = rowsOfThePage();
  EXPECT_EQ(rows.size(), 28u);
  std::string const file = writtenFile();
  EXPECT_EQ(file.size(), 1126400u);
  for (Row const& row : rows) {
    for (std::size_t i = 0; i < row.bytes.size(); ++i) {
      if (row.bytes[i] == "..") continue;
      auto const written = static_cast<unsigned char>(file.at(row.offset + i));
      EXPECT_EQ(written, std::stoul(row.bytes[i], nullptr, 16)) << "offset " << row.offset + i;
    }
  }
}

}  // namespace
