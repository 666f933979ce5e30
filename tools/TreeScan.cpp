#include "tools/TreeScan.h"

#include <array>
#include <utility>

#include "tools/Failure.h"

namespace Oru::Tools {

namespace {

using Mount::Backend;
using Mount::FileTree;
using Mount::TreePath;

struct Place {
  Area area;
  TreePath directory;
  bool nested;  // the directory holds directories of values, not values
};

std::array<Place, 13> const& places() {
  static std::array<Place, 13> const all{{
      {Area::hwConfig, {"hw", "config"}, false},
      {Area::hwStatus, {"hw", "status"}, false},
      {Area::config, {"config"}, true},
      {Area::status, {"status"}, true},
      {Area::chips, {"system", "chips"}, false},
      {Area::slices, {"system", "slices"}, false},
      {Area::interfaces, {"system", "interfaces"}, false},
      {Area::features, {"features"}, false},
      {Area::requests, {"reset", "request"}, true},
      {Area::answers, {"reset", "status"}, true},
      {Area::entries, {"launcher"}, true},
      {Area::agents, {"launcher-status"}, true},
      {Area::problems, {"problems"}, false},
  }};
  return all;
}

class Scanner {
 public:
  explicit Scanner(FileTree const& tree) : tree_(tree) {}

  void scan(TreePath const& directory, bool nested) {
    auto const listing = tree_.list(directory);
    if (listing.state == Backend::Listing::State::refused)
      found_.strays.push_back(problemOf(directory.text(), {}, listing.reason));
    for (auto const& stray : listing.strays)
      found_.strays.push_back(problemOf(directory.text() + '/' + stray.fileName, {}, stray.reason));
    for (auto const& member : listing.members) take(directory / member.name, member.kind, nested);
  }

  TreeScan result() && { return std::move(found_); }

 private:
  void take(TreePath const& path, Backend::Kind kind, bool nested) {
    bool const isDirectory = kind == Backend::Kind::directory;
    if (isDirectory != nested)
      return found_.strays.push_back(problemOf(isDirectory ? path.text() : path.valueText(), {},
                                               isDirectory
                                                   ? "is a directory where a file belongs"
                                                   : "is a file where a directory belongs"));
    if (isDirectory) {
      found_.directories.insert(path);
      return scan(path, false);
    }
    auto reading = tree_.read(path);
    if (reading.state != Backend::Reading::State::absent)
      found_.values.emplace(path, std::move(reading));
  }

  FileTree const& tree_;
  TreeScan found_;
};

}  // namespace

Problem problemOf(std::string file, std::string place, std::string reason) {
  return {std::move(file), Mount::ProblemList::Activity::read, std::move(place), std::move(reason),
          0.0};
}

std::optional<Area> areaOf(TreePath const& value) {
  for (auto const& place : places()) {
    std::size_t const depth = place.directory.size() + (place.nested ? 2 : 1);
    if (value.size() == depth && value.isWithin(place.directory)) return place.area;
  }
  return std::nullopt;
}

TreeScan scanTree(FileTree const& tree) {
  auto const root = tree.list({});
  if (root.state != Backend::Listing::State::present)
    throw Failure(
        exitTree,
        "cannot use " + tree.root() + ": " +
            (root.reason.empty() ? "there is no such folder" : root.reason) +
            "\nGive the folder of the state tree with --tree DIR or in the environment as "
            "ORU_TREE.");
  Scanner scanner(tree);
  for (auto const& place : places()) scanner.scan(place.directory, place.nested);
  return std::move(scanner).result();
}

}  // namespace Oru::Tools
