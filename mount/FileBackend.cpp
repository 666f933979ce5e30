#include "mount/FileBackend.h"

namespace Oru::Mount {

namespace {

class FileWatch final : public Backend::Watch {
 public:
  FileWatch(FileWatcher& watcher, TreePath const& directory, Backend::Observer& observer)
      : watcher_(watcher), id_(watcher.add(directory, observer)) {}
  ~FileWatch() override { watcher_.remove(id_); }

 private:
  FileWatcher& watcher_;
  WatchList::Id const id_;
};

}  // namespace

std::unique_ptr<Backend::Watch> FileBackend::watch(TreePath const& directory, Observer& observer) {
  return std::make_unique<FileWatch>(watcher_, directory, observer);
}

std::error_code FileBackend::put(TreePath const& value, std::string_view text) {
  FileStamp written;
  auto const error = tree_.put(value, text, &written);
  if (!error) watcher_.ownWrite(value, written);
  return error;
}

std::error_code FileBackend::remove(TreePath const& value) {
  auto const error = tree_.remove(value);
  if (!error) watcher_.ownWrite(value, {});
  return error;
}

}  // namespace Oru::Mount
