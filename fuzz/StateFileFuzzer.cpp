// The readers of the state tree's files against any text under any name. What is taken must come
// back equal when it is written; whatever else must be refused with a JsonError.
//
// The input: the file's type (1 byte), its name up to the first line feed, its text.

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "mount/Codec.h"
#include "mount/JsonError.h"
#include "mount/TreePath.h"

namespace {

using namespace Oru;
using namespace Oru::Mount;
using Vunda::makeNode;

void require(bool condition) {
  if (!condition) std::abort();
}

// The file that `rewritten` makes of what it reads; the same again from that.
template <class Rewritten>
void comesBack(Rewritten rewritten, std::string const& text, std::string const& name) {
  std::string const once = rewritten(text, name);
  require(rewritten(once, name) == once);
}

std::string sliceHwConfig(std::string const& text, std::string const&) {
  auto const data = Codec::sliceHwConfigOf(text);
  auto const config = makeNode<Central::SliceHwConfig>("Slice");
  for (auto const& [name, chipData] : data.chips) {
    auto const chip = makeNode<Central::ChipHwConfig>(name.c_str());
    Codec::apply(chipData, *chip);
    config->chipConfigIs(chip);
  }
  config->genTimeIs(data.genTime);
  return Codec::jsonOf(*config);
}

std::string sliceHwStatus(std::string const& text, std::string const&) {
  auto const status = makeNode<Central::SliceHwStatus>("Slice");
  status->genTimeIs(Codec::sliceHwStatusOf(text));
  return Codec::jsonOf(*status);
}

std::string chipConfig(std::string const& text, std::string const&) {
  auto const config = makeNode<Central::ChipConfig>("Chip");
  Codec::apply(Codec::chipConfigOf(text), *config);
  return Codec::jsonOf(*config);
}

std::string chipStatus(std::string const& text, std::string const&) {
  auto const status = makeNode<Central::ChipStatus>("Chip");
  Codec::apply(Codec::chipStatusOf(text), *status);
  return Codec::jsonOf(*status);
}

std::string reset(std::string const& text, std::string const& name) {
  auto const data = Codec::resetOf(text, name);
  require(Codec::nameOf(data.key) == name);
  auto const entry = makeNode<Central::ResetEntry>(data.key);
  Codec::apply(data, *entry);
  return Codec::jsonOf(*entry);
}

std::string feature(std::string const& text, std::string const&) {
  return Codec::jsonOfFeature(Codec::featureOf(text));
}

std::string launcherEntry(std::string const& text, std::string const&) {
  return Codec::jsonOfLauncherEntry(Codec::launcherEntryOf(text));
}

std::string chipInfo(std::string const& text, std::string const& name) {
  return Codec::jsonOf(Codec::chipInfoOf(text, name));
}

std::string sliceChips(std::string const& text, std::string const&) {
  return Codec::jsonOf(Codec::sliceChipsOf(text));
}

constexpr std::array<std::string (*)(std::string const&, std::string const&), 9> fileTypes{
    sliceHwConfig, sliceHwStatus, chipConfig, chipStatus, reset,
    feature,       launcherEntry, chipInfo,   sliceChips};

// Only the one file name that a name has is read back.
void fileNameComesBack(std::string const& fileName) {
  if (auto const name = decodedName(fileName)) require(encodedName(*name) == fileName);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  if (size == 0) return 0;
  std::string const input(reinterpret_cast<char const*>(data) + 1, size - 1);
  std::size_t const end = input.find('\n');
  std::string const name = input.substr(0, end);
  std::string const text = end == std::string::npos ? "" : input.substr(end + 1);
  fileNameComesBack(name);
  try {
    comesBack(fileTypes[data[0] % fileTypes.size()], text, name);
  } catch (JsonError const&) {
  }
  return 0;
}
