#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "mount/EventLoop.h"
#include "mount/FileBackend.h"

namespace Oru::Tools {

// Tells when something in the tree changes, by inotify. The functions are called from the loop.
class TreeFollower final : Mount::Backend::Observer {
 public:
  using OnChange = std::function<void(std::vector<Mount::Backend::Change> const&)>;
  // The tree is gone, with the reason, or back (empty).
  using OnTree = std::function<void(std::string const& reason)>;

  TreeFollower(Mount::EventLoop& loop, std::string const& tree, OnChange onChange, OnTree onTree);

  Mount::FileTree const& tree() const { return backend_.tree(); }

 private:
  void changed(std::vector<Mount::Backend::Change> const& changes) override { onChange_(changes); }
  void rootLost(std::string const& reason) override { onTree_(reason); }
  void rootBack() override { onTree_({}); }
  void watchLost(Mount::TreePath const& path, std::string const& reason) override;
  void watchBack(Mount::TreePath const& path) override;

  Mount::FileBackend backend_;
  OnChange const onChange_;
  OnTree const onTree_;
  std::unique_ptr<Mount::Backend::Watch> watch_;
};

}  // namespace Oru::Tools
