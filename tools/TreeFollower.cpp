#include "tools/TreeFollower.h"

#include <utility>

namespace Oru::Tools {

TreeFollower::TreeFollower(Mount::EventLoop& loop, std::string const& tree, OnChange onChange,
                           OnTree onTree)
    : backend_(loop, tree),
      onChange_(std::move(onChange)),
      onTree_(std::move(onTree)),
      watch_(backend_.watch({}, *this)) {}

// What cannot be watched cannot be listed either, which a look at the tree finds out.
void TreeFollower::watchLost(Mount::TreePath const& path, std::string const&) {
  onChange_({{path, Mount::Backend::Kind::directory}});
}

void TreeFollower::watchBack(Mount::TreePath const& path) {
  onChange_({{path, Mount::Backend::Kind::directory}});
}

}  // namespace Oru::Tools
