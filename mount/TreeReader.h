#pragma once

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "mount/Backend.h"
#include "mount/EventLoop.h"
#include "mount/ProblemList.h"
#include "mount/Retry.h"
#include "mount/TreePath.h"

namespace Oru::Mount {

// Keeps a consumer informed of the values in one directory of the tree, now and from now on: lists,
// reads, and tells what is there and what is not there any more. A value that did not change may be
// told again; the consumer compares. What must not stand there, or what the consumer refuses, goes to
// the problem list until it is put right; what was accepted last stays in force.
class TreeReader final : Backend::Observer {
 public:
  // values: the directory holds values. directories: it holds directories of values.
  enum class Shape { values, directories };

  // Paths are whole paths from the root.
  class Consumer {
   public:
    // A directory that is new, told before its values; with `directoryRead` after the first of
    // them.
    virtual void directoryIs(TreePath const&) {}
    virtual void directoryRead(TreePath const&) {}
    // A directory is gone, with all its values, which are not told one by one.
    virtual void directoryGone(TreePath const&) {}
    // A value has this text. Refuses it by raising JsonError.
    virtual void valueIs(TreePath const& value, std::string const& text) = 0;
    // What stands at a value's place is none, or cannot be read. It is told once it can.
    virtual void valueUnreadable(TreePath const&) {}
    // A value is gone, accepted or not.
    virtual void valueGone(TreePath const& value) = 0;
    // The watched directory itself is not there; it counts as empty.
    virtual void baseMissing() {}
    // What the consumer has put right into that directory itself, of which no watch tells: it is
    // told that such a value or directory is gone although it never was that it is there.
    virtual std::vector<TreePath> ownValues(TreePath const&) const { return {}; }
    virtual std::vector<TreePath> ownDirectories(TreePath const&) const { return {}; }

   protected:
    ~Consumer() = default;
  };

  TreeReader(EventLoop& loop, Backend& backend, ProblemList& problems, TreePath directory,
             Shape shape, Consumer& consumer);

  // Watches and tells what is there.
  void start();
  // Tells the value's text again, if it has one: for a consumer that refused it for a reason that
  // may be gone.
  void lookAgain(TreePath const& value);
  // Whether something stands at the value's place, accepted or not.
  bool stands(TreePath const& value) const { return values_.contains(value); }
  bool accepted(TreePath const& value) const;
  // The values that something stands at, in one directory.
  std::vector<TreePath> valuesIn(TreePath const& directory) const;

 private:
  void changed(std::vector<Backend::Change> const& changes) override;
  void rootLost(std::string const& reason) override;
  void rootBack() override;
  void watchLost(TreePath const& path, std::string const& reason) override;
  void watchBack(TreePath const& path) override;

  bool holdsValues(TreePath const& directory) const;
  void sync();
  void syncAgain();
  bool syncedAsDirectory(TreePath const& path);
  void syncDirectory(TreePath const& directory);
  void syncDirectory(TreePath const& directory, Backend::Listing const& listing);
  void syncValues(TreePath const& directory, Backend::Listing const& listing);
  void syncDirectories(Backend::Listing const& listing);
  void syncValue(TreePath const& value);
  bool accepts(TreePath const& value, std::string const& text);
  void directoryGone(TreePath const& directory);
  void valueGone(TreePath const& value);
  void straysAre(TreePath const& directory, std::map<std::string, std::string> strays);
  bool readable(TreePath const& directory, Backend::Listing const& listing);
  void failedIs(TreePath const& path, bool failed);

  Backend& backend_;
  ProblemList& problems_;
  TreePath const base_;
  Shape const shape_;
  Consumer& consumer_;
  std::unique_ptr<Backend::Watch> watch_;
  std::map<TreePath, bool> values_;  // whether the last text was accepted
  std::set<TreePath> directories_;
  std::map<TreePath, std::set<std::string>> strays_;
  std::set<TreePath> failed_;  // could not be read the last time
  Retry retry_;
};

}  // namespace Oru::Mount
