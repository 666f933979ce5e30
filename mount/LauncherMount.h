#pragma once

#include <map>
#include <memory>
#include <string>

#include "mount/DirWatch.h"
#include "mount/OutputMount.h"
#include "runtime/vunda/Duration.h"

namespace Oru::Mount {

// Entries (Kesh::Dir) of one launcher directory -> launcher/<kind>/<name>.json.
class LauncherMount final : public OutputMount {
 public:
  LauncherMount(MountContext const& context, std::string const& kind,
                Vunda::Ptr<Kesh::Dir> const& launcherDir);

  void follow();
  // Asks for one restart of each agent that is to run now.
  void restartAll(Vunda::Duration time);
  // The latest time that was given to restartAll, by an earlier run too.
  Vunda::Duration lastRestart() const;

 private:
  void load(TreePath const& value, std::string const& text) override;

  Vunda::Ptr<Kesh::Dir> const launcherDir_;
  std::map<std::string, Vunda::Duration> restarts_;
  std::unique_ptr<DirWatch> watch_;
};

}  // namespace Oru::Mount
