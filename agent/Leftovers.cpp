#include "agent/Leftovers.h"

#include <set>
#include <string>

#include "mount/Names.h"

namespace Oru::Agent {

using namespace Central;
using Kesh::Dir;
using Mount::treeName;
using Vunda::Ptr;
using Vunda::String;

namespace {

// Removes the members of `dir` that nobody wants.
template <class Wanted>
void keepWanted(Dir& dir, char const* what, Mount::Log const& log, Wanted wanted) {
  for (auto at = dir.entityPtrIterator(); at; ++at) {
    String const name = at.name();
    if (wanted(treeName(name))) continue;
    log.info(std::string("removing ") + what + ' ' + treeName(name) + " of an earlier run");
    dir.deleteEntity(name);
  }
}

template <class Each>
void forEachSlice(Mount::StateMount const& mount, Each each) {
  for (auto at = mount.hwConfigDir()->entityPtrIterator(); at; ++at)
    if (auto const config = Vunda::ptrCast<SliceHwConfig>(at.entity())) each(at.name(), *config);
}

std::set<std::string> chipsThatMayRun(Mount::StateMount const& mount) {
  std::set<std::string> chips;
  forEachSlice(mount, [&](String const& slice, SliceHwConfig const& config) {
    if (!mount.statusDir()->entityPtrHas(slice)) return;
    for (auto at = config.chipConfig().iterator(); at; ++at) chips.insert(treeName(at.key()));
  });
  return chips;
}

bool aConfigurationIsLost(Mount::StateMount const& mount, String const& slice,
                          SliceHwConfig const& config) {
  auto const dir = Vunda::ptrCast<Dir>(mount.configDir()->entityPtr(slice));
  for (auto at = config.chipConfig().iterator(); at; ++at) {
    if (!dir || !dir->entityPtrHas(at.key())) return true;
  }
  return false;
}

}  // namespace

void removeLeftovers(Mount::StateMount& mount, Mount::Log const& log) {
  auto const isConfigured = [&](std::string const& slice) {
    return mount.hwConfig().stands(slice);
  };
  keepWanted(
      *mount.sliceLauncherDir(), "launcher entry of slice", log, [&](std::string const& slice) {
        return isConfigured(slice) || mount.statusDir()->entityPtrHas(Mount::entityName(slice));
      });
  keepWanted(*mount.hwStatusDir(), "hardware status of slice", log, isConfigured);
  if (mount.hwConfig().allAccepted()) {
    auto const chips = chipsThatMayRun(mount);
    keepWanted(*mount.chipLauncherDir(), "launcher entry of chip", log,
               [&](std::string const& chip) { return chips.contains(chip); });
  }
  keepWanted(*mount.featureLauncherDir(), "launcher entry of feature", log,
             [&](std::string const& feature) { return mount.features().stands(feature); });
}

void takeOverAnewWhatIsLost(Mount::StateMount& mount, Mount::Log const& log) {
  forEachSlice(mount, [&](String const& slice, SliceHwConfig const& config) {
    auto const status = Vunda::ptrCast<SliceHwStatus>(mount.hwStatusDir()->entityPtr(slice));
    if (!status || !status->genTime() || !aConfigurationIsLost(mount, slice, config)) return;
    log.warning("a chip's configuration of slice " + treeName(slice) +
                " is lost: the slice is taken over anew");
    status->genTimeIs({});
  });
}

}  // namespace Oru::Agent
