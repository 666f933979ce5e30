#pragma once

#include <functional>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

#include "mount/FileBackend.h"

namespace Oru::Sim {

// What stands in the tree, as an onlooker sees it: every file's JSON, every directory. Follows the
// tree by itself; what this program writes is to be looked at with look().
class TreePicture final : private Mount::Backend::Observer {
 public:
  struct Difference {
    Mount::TreePath path;
    bool directory = false;
    nlohmann::json
        before;  // null: was not there, or not JSON; of a directory: whether it was there
    nlohmann::json after;
  };
  // Everything that several changes at once have made different.
  using OnChange = std::function<void(std::vector<Difference> const&)>;

  TreePicture(Mount::FileBackend& tree, OnChange onChange);

  // Null when there is no such file, or when it is not JSON.
  nlohmann::json const& value(Mount::TreePath const& path) const;
  bool hasDirectory(Mount::TreePath const& path) const { return directories_.contains(path); }
  // The names of the files in a directory.
  std::vector<std::string> names(Mount::TreePath const& directory) const;

  // The directories in a directory.
  std::vector<Mount::TreePath> directories(Mount::TreePath const& directory) const;

  void look();
  bool rootIsThere() const { return rootIsThere_; }

 private:
  void changed(std::vector<Mount::Backend::Change> const& changes) override;
  void rootLost(std::string const& reason) override;
  void rootBack() override;

  void lookAt(Mount::Backend::Change const& change);
  void lookAtValue(Mount::TreePath const& path);
  void lookAtDirectory(Mount::TreePath const& path);
  void forgetMissing(Mount::TreePath const& directory, Mount::Backend::Listing const& listing);
  void valueIs(Mount::TreePath const& path, nlohmann::json value);
  void directoryIs(Mount::TreePath const& path, bool present);
  void tell();

  Mount::FileBackend& tree_;
  OnChange const onChange_;
  std::map<Mount::TreePath, nlohmann::json> values_;
  std::set<Mount::TreePath> directories_;
  std::vector<Difference> differences_;
  bool rootIsThere_ = true;
  std::unique_ptr<Mount::Backend::Watch> watch_;
};

}  // namespace Oru::Sim
