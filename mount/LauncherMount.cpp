#include "mount/LauncherMount.h"

#include <algorithm>

#include "mount/Codec.h"
#include "mount/Names.h"
#include "runtime/kesh/System.h"

namespace Oru::Mount {

using Kesh::Dir;
using Vunda::Duration;

LauncherMount::LauncherMount(MountContext const& context, std::string const& kind,
                             Vunda::Ptr<Dir> const& launcherDir)
    : OutputMount(context, {"launcher", kind}, TreeReader::Shape::values),
      launcherDir_(launcherDir) {}

void LauncherMount::load(TreePath const& value, std::string const& text) {
  auto const restart = Codec::launcherEntryOf(text);
  Kesh::System::currentTimeFloorIs(restart);
  if (restart) restarts_[value.leaf()] = restart;
  launcherDir_->createEntity(Dir::typeName, entityName(value.leaf()));
}

void LauncherMount::follow() {
  watch_ = std::make_unique<DirWatch>(
      launcherDir_,
      DirWatch::Reactions{[this](auto const& name, auto const&) {
                            writer().valueIs(base() / name, [this, name] {
                              auto const restart = restarts_.find(name);
                              return Codec::jsonOfLauncherEntry(
                                  restart == restarts_.end() ? Duration() : restart->second);
                            });
                          },
                          [this](auto const& name) {
                            restarts_.erase(name);
                            writer().valueDel(base() / name);
                          }});
}

void LauncherMount::restartAll(Duration time) {
  for (auto at = launcherDir_->entityPtrIterator(); at; ++at) {
    restarts_[treeName(at.name())] = time;
    writer().valueChanged(base() / at.name().view());
  }
}

Duration LauncherMount::lastRestart() const {
  Duration last;
  for (auto const& [name, time] : restarts_)
    if (time > last) last = time;
  return last;
}

}  // namespace Oru::Mount
