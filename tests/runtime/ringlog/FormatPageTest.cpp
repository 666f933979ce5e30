// The format page's worked example, held against what the writer writes.

#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <iterator>
#include <regex>
#include <string>
#include <vector>

#include "runtime/ringlog/MsgDesc.h"
#include "runtime/ringlog/TraceFile.h"
#include "tests/support/RingTrace.h"

namespace {

struct Row {
  std::size_t offset;
  std::vector<std::string> bytes;  // two hexadecimal digits, or ".."
};

// The rows of the page's tables whose first two columns are an offset and bytes.
std::vector<Row> rowsOfThePage() {
  std::ifstream page(ORU_SOURCE_DIR "/docs/ring-trace-format.md");
  std::regex const rowPattern(R"(\| (\d+) \| ((?:(?:[0-9a-f]{2}|\.\.) ?)+) \|.*)");
  std::vector<Row> rows;
  bool inExample = false;
  for (std::string line; std::getline(page, line);) {
    inExample = inExample || line == "## One record, byte by byte";
    std::smatch match;
    if (!inExample || !std::regex_match(line, match, rowPattern)) continue;
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
