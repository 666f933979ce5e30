#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "mount/TreePath.h"

namespace Oru::Mount {

// A state tree: directories that hold directories and values (JSON texts). The two have names of
// their own: `Slice1` may be the name of a value and of a directory in the same directory.
//
// The interface is level-triggered. A watch says where to look again, never what happened; whoever
// gets the word reads, compares with what it knows, and applies the difference. So a lost or
// repeated word does no harm, and many changes between two looks count as one.
//
// Everything runs on the thread of the event loop. Nothing here raises for what is found in the
// tree; std::bad_alloc and what the event loop raises are left through.
class Backend {
 public:
  enum class Kind : std::uint8_t { value, directory };

  // Names on the way from the root to the deepest directory that a tree has. What lies deeper
  // belongs to nobody and is not watched: whoever may write somewhere cannot keep others busy by it.
  static constexpr std::size_t deepestDirectory = 3;

  // A member of a directory, in the order of names.
  struct Member {
    std::string name;
    Kind kind = Kind::value;
    bool operator==(Member const&) const = default;
  };

  // What stands in a directory that belongs to nobody: a link, a device, a name that is no name,
  // another extension.
  struct Stray {
    std::string fileName;
    std::string reason;
    bool operator==(Stray const&) const = default;
  };

  // What a directory holds, or why it cannot be listed.
  struct Listing {
    enum class State : std::uint8_t { present, absent, refused };
    State state = State::absent;
    std::vector<Member> members;
    std::vector<Stray> strays;
    std::string reason;      // when refused
    bool transient = false;  // when refused: as with Reading
  };

  // A value as it stands. `refused` means that something stands there which must not or could not
  // be read, for `reason`: a link, a device, a directory, too large, no permission, a read error.
  struct Reading {
    enum class State : std::uint8_t { present, absent, refused };
    State state = State::absent;
    std::string text;    // when present
    std::string reason;  // when refused
    // When refused: by an error that may be gone the next time, and no watch says when.
    bool transient = false;
  };

  // Where to look again: one value, or a directory with everything in it (its disappearance
  // included).
  struct Change {
    TreePath path;
    Kind kind = Kind::value;
    // Of a directory: it was gone in between, so it is another one if it is there.
    bool wasGone = false;
    bool operator==(Change const&) const = default;
  };

  // An observer overrides what it acts on; whatever else is lost, a change follows when it is back.
  class Observer {
   public:
    // The changes of one turn, each place once. Values inside a directory that is reported too are
    // not reported again.
    virtual void changed(std::vector<Change> const& changes) = 0;
    // The tree's root is gone, or cannot be watched: nothing is known about the tree until
    // rootBack(). What was known last stays in force.
    virtual void rootLost(std::string const& /*reason*/) {}
    // The root is there again; a change of the watched directory follows.
    virtual void rootBack() {}
    // More happened than the system kept word of; a change of the watched directory follows.
    virtual void wordLost() {}
    // The place cannot be watched, for `reason`; tried again until watchBack(). Then a change
    // follows.
    virtual void watchLost(TreePath const& /*path*/, std::string const& /*reason*/) {}
    virtual void watchBack(TreePath const& /*path*/) {}

   protected:
    ~Observer() = default;
  };

  // A standing watch; ends with the object. Must not outlive the back-end.
  class Watch {
   public:
    virtual ~Watch() = default;
  };

  virtual ~Backend() = default;

  virtual Listing list(TreePath const& directory) = 0;
  virtual Reading read(TreePath const& value) = 0;
  // Reports changes at `directory` and everything below it from now on; the directory need not
  // exist yet. What this back-end put and removed itself is mostly not reported. What is reported at
  // once is told to the observers in the order in which their watches began.
  // Calls come from the event loop, never from within this call or another operation. To miss
  // nothing: watch first, then list. The observer must outlive the watch.
  [[nodiscard]] virtual std::unique_ptr<Watch> watch(TreePath const& directory,
                                                     Observer& observer) = 0;

  // Writers. All are idempotent and none makes the tree's root; a value is put and removed at once
  // for its readers. After an error nothing has changed, but for directories that were made or
  // members that were removed on the way. Makes or replaces a value, and the directories on the
  // way.
  virtual std::error_code put(TreePath const& value, std::string_view text) = 0;
  // Removes a value; absent is fine.
  virtual std::error_code remove(TreePath const& value) = 0;
  // Makes a directory, and those on the way; present is fine.
  virtual std::error_code makeDirectory(TreePath const& directory) = 0;
  // Removes a directory with everything in it; absent is fine.
  virtual std::error_code removeDirectory(TreePath const& directory) = 0;
};

}  // namespace Oru::Mount
