#include "mount/OutputMount.h"

#include <utility>

#include "mount/JsonError.h"

namespace Oru::Mount {

OutputMount::OutputMount(MountContext const& context, TreePath base, TreeReader::Shape shape)
    : context_(context),
      base_(std::move(base)),
      reader_(context.loop, context.backend, context.problems, base_, shape, *this) {}

void OutputMount::read() {
  reader_.start();
  loading_ = false;
}

void OutputMount::directoryIs(TreePath const& directory) {
  if (loading_) loadDirectory(directory);
}

void OutputMount::directoryGone(TreePath const& directory) { writer().directoryMissing(directory); }

void OutputMount::valueIs(TreePath const& value, std::string const& text) {
  bool const isOurs = writer().found(value, text);
  if (loading_)
    load(value, text);
  else if (!isOurs)
    throw JsonError({}, "is a file of nothing that there is");
}

// What can be replaced is.
void OutputMount::valueUnreadable(TreePath const& value) { writer().found(value, std::nullopt); }

void OutputMount::valueGone(TreePath const& value) { writer().found(value, std::nullopt); }

std::vector<TreePath> OutputMount::ownValues(TreePath const& directory) const {
  return writer().valuesIn(directory);
}

std::vector<TreePath> OutputMount::ownDirectories(TreePath const& directory) const {
  return writer().directoriesIn(directory);
}

void OutputMount::baseMissing() {
  context_.queue.makeDirectory(base_);
  writer().directoryMissing(base_);
}

}  // namespace Oru::Mount
