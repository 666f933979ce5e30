#pragma once

#include <string>
#include <vector>

#include "mount/MountContext.h"
#include "mount/TreeReader.h"

namespace Oru::Mount {

// Base of the mounts of directories that this program writes. First, read() loads what an earlier
// run left there. Then the entities rule: the derived class follows them and tells the context's
// writer, and what others change in the tree is put right.
class OutputMount : protected TreeReader::Consumer {
 public:
  OutputMount(OutputMount const&) = delete;
  OutputMount& operator=(OutputMount const&) = delete;

  void read();

 protected:
  OutputMount(MountContext const& context, TreePath base, TreeReader::Shape shape);
  ~OutputMount() = default;

  // Takes a value over; refuses it by raising JsonError.
  virtual void load(TreePath const& value, std::string const& text) = 0;
  virtual void loadDirectory(TreePath const&) {}

  TreeWriter& writer() const { return context_.writer; }
  TreePath const& base() const { return base_; }

 private:
  void directoryIs(TreePath const& directory) override;
  void directoryGone(TreePath const& directory) override;
  void valueIs(TreePath const& value, std::string const& text) override;
  void valueUnreadable(TreePath const& value) override;
  void valueGone(TreePath const& value) override;
  void baseMissing() override;
  std::vector<TreePath> ownValues(TreePath const& directory) const override;
  std::vector<TreePath> ownDirectories(TreePath const& directory) const override;

  MountContext const context_;
  TreePath const base_;
  TreeReader reader_;
  bool loading_ = true;
};

}  // namespace Oru::Mount
