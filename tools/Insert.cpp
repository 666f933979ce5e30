#include "tools/Insert.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <map>
#include <system_error>

#include "mount/Json.h"
#include "tools/Failure.h"
#include "tools/KnownNames.h"
#include "tools/Suggestion.h"
#include "tools/Times.h"

namespace Oru::Tools {

namespace {

using Mount::Codec::SliceHwData;

std::string textOfFile(std::string const& file) {
  std::ifstream stream(file, std::ios::binary);
  std::string text(Mount::FileTree::sizeLimit + 1, '\0');
  stream.read(text.data(), static_cast<std::streamsize>(text.size()));
  if (!stream.is_open() || stream.bad() || (stream.fail() && !stream.eof()))
    throw Failure(exitTree, "cannot read " + file + ": " +
                                std::error_code(errno, std::generic_category()).message());
  if (!stream.eof()) throw Failure(exitUsage, file + ": is larger than 1 MiB");
  text.resize(static_cast<std::size_t>(stream.gcount()));
  return text;
}

std::string nameOfFile(std::string const& file) {
  auto const meaning = Mount::TreeFileName::of(std::filesystem::path(file).filename().string());
  if (meaning.form != Mount::TreeFileName::Form::value || !meaning.name)
    throw Failure(exitUsage, file +
                                 ": its name is none of a slice's file; give the slice's name "
                                 "with --as NAME");
  return *meaning.name;
}

// Newer than what stands, also when the clock was set back.
double newGeneration(TreeData const& data, std::string const& slice) {
  double last = 0;
  if (auto const at = data.hwConfig.find(slice); at != data.hwConfig.end())
    last = at->second.genTime.seconds();
  if (auto const at = data.hwStatus.find(slice); at != data.hwStatus.end())
    last = std::max(last, at->second);
  return std::max(now(), std::nextafter(last, std::numeric_limits<double>::infinity()));
}

void refuseDoubled(TreeData const& data, std::string const& slice, SliceHwData const& board) {
  for (auto const& [other, hardware] : data.hwConfig) {
    if (other == slice) continue;
    for (auto const& [chip, its] : hardware.chips) {
      if (board.chips.contains(chip))
        throw Failure(exitUsage, "chip \"" + shown(chip) + "\" is in slice \"" + shown(other) +
                                     "\" already; names of chips are unique");
      for (auto const& [name, mine] : board.chips)
        if (mine.deviceId == its.deviceId && its.deviceId != Central::DeviceId::null)
          throw Failure(exitUsage, "chip \"" + shown(name) + "\" has device number " +
                                       std::to_string(mine.deviceId) + ", as chip \"" +
                                       shown(chip) + "\" of slice \"" + shown(other) + '"');
    }
  }
}

void refuseDoubledOnBoard(SliceHwData const& board) {
  std::map<std::uint16_t, std::string> chips;
  for (auto const& [chip, hardware] : board.chips) {
    if (hardware.deviceId == Central::DeviceId::null) continue;
    auto const [first, isNew] = chips.try_emplace(hardware.deviceId, chip);
    if (!isNew)
      throw Failure(exitUsage, "chips \"" + shown(first->second) + "\" and \"" + shown(chip) +
                                   "\" both have device number " +
                                   std::to_string(hardware.deviceId));
  }
}

}  // namespace

int insertSlice(Context const& context, std::string const& file, std::string const& given) {
  Mount::FileTree const tree(context.tree);
  TreeData const data(scanTree(tree));
  std::string text = textOfFile(file);
  std::string const slice = given.empty() ? nameOfFile(file) : given;
  SliceHwData board;
  try {
    auto json = Mount::parsedJson(text);
    if (json.is_object()) json["genTime"] = newGeneration(data, slice);
    text = json.dump() + '\n';
    board = Mount::Codec::sliceHwConfigOf(text);
  } catch (Mount::JsonError const& error) {
    throw Failure(exitUsage, file + ": " + shown(error.what()));
  }
  refuseDoubledOnBoard(board);
  refuseDoubled(data, slice, board);
  Mount::TreePath const path{"hw", "config", slice};
  requireWritten(tree.put(path, text), tree, path);
  context.out << "slice " << shown(slice) << " is inserted, with " << board.chips.size()
              << (board.chips.size() == 1 ? " chip\n" : " chips\n");
  return exitOk;
}

int removeSlice(Context const& context, std::string const& name) {
  Mount::FileTree const tree(context.tree);
  TreeData const data(scanTree(tree));
  Mount::TreePath const path{"hw", "config", name};
  if (!data.hwConfig.contains(name) && !data.isUnreadable(path)) {
    std::vector<std::string> inserted;
    for (auto const& [slice, hardware] : data.hwConfig) inserted.push_back(slice);
    throw Failure(exitUsage,
                  "slice \"" + shown(name) + "\" is not inserted" + didYouMean(name, inserted));
  }
  requireWritten(tree.remove(path), tree, path);
  context.out << "slice " << shown(name) << " is removed\n";
  return exitOk;
}

}  // namespace Oru::Tools
