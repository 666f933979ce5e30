#pragma once

#include <functional>
#include <map>
#include <string>

#include "mount/NodeWatch.h"
#include "runtime/kesh/Dir.h"

namespace Oru::Mount {

// Follows the members of a directory of entities.
class DirWatch {
 public:
  struct Reactions {
    // An entity is there now, of whatever type: at once for those that are there already. One that
    // takes another's place is announced after that one's `gone`; one announced again is no news.
    std::function<void(std::string const& name, Vunda::Ptr<Kesh::Entity> const& entity)> added;
    std::function<void(std::string const& name)> gone;
  };

  DirWatch(Vunda::Ptr<Kesh::Dir> const& dir, Reactions reactions);
  DirWatch(DirWatch const&) = delete;
  DirWatch& operator=(DirWatch const&) = delete;

 private:
  void look(Vunda::String const& name);

  Vunda::Ptr<Kesh::Dir> const dir_;
  Reactions const reactions_;
  std::map<std::string, Vunda::Ptr<Kesh::Entity>> known_;
  Vunda::Ptr<NodeWatch> watch_;
};

}  // namespace Oru::Mount
