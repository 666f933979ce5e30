#pragma once

#include <memory>
#include <string>

#include "mount/Backend.h"
#include "mount/FileTree.h"
#include "mount/FileWatcher.h"

namespace Oru::Mount {

// The state tree as files: FileTree's operations, watched by FileWatcher.
class FileBackend final : public Backend {
 public:
  // The root need not exist. Raises std::system_error when the system gives no inotify descriptor.
  FileBackend(EventLoop& loop, std::string root) : tree_(std::move(root)), watcher_(loop, tree_) {}

  FileTree const& tree() const noexcept { return tree_; }

  Listing list(TreePath const& directory) override { return tree_.list(directory); }
  Reading read(TreePath const& value) override { return tree_.read(value); }
  std::unique_ptr<Watch> watch(TreePath const& directory, Observer& observer) override;
  std::error_code put(TreePath const& value, std::string_view text) override;
  std::error_code remove(TreePath const& value) override;
  std::error_code makeDirectory(TreePath const& directory) override {
    return tree_.makeDirectory(directory);
  }
  std::error_code removeDirectory(TreePath const& directory) override {
    return tree_.removeDirectory(directory);
  }

 private:
  FileTree const tree_;
  FileWatcher watcher_;
};

}  // namespace Oru::Mount
