#include "agent/PlatformHelper.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>

#include "agent/Counted.h"
#include "mount/Names.h"

namespace Oru::Agent {

using namespace Central;
using Vunda::Duration;
using Vunda::Ptr;
using Vunda::String;

namespace {

std::string chipText(ChipInfo const& info) {
  return "chip " + Mount::treeName(info.name()) + " of slice " + Mount::treeName(info.sliceName()) +
         " (device " + std::to_string(info.deviceId().value()) + ')';
}

std::string asInFiles(Duration time) { return nlohmann::json(time.seconds()).dump(); }

}  // namespace

PlatformHelper::PlatformHelper(String const& name, Mount::Log const& log, Mount::StateMount& mount,
                               std::function<void()> changed)
    : Typed(name),
      log_(log),
      mount_(&mount),
      changed_(std::move(changed)),
      lastFeatureReset_(mount.resetStatus().lastAnswer(ResetType::featureAgents)),
      lastFeatureRestart_(mount.featureLauncher().lastRestart()) {}

void PlatformHelper::syncStateOnInit(ChipCollection const& runningChips) {
  if (mount_ && !runningChips.chip().empty())
    log_.info(counted(runningChips.chip().size(), "chip") + " running on from before");
}

// Called whenever a slice is looked at; news is another generation.
void PlatformHelper::sliceDetected(String const& sliceName) {
  if (!mount_) return;
  auto const config = Vunda::ptrCast<SliceHwConfig>(mount_->hwConfigDir()->entityPtr(sliceName));
  if (!config) return;
  auto const [at, isNew] = detected_.try_emplace(Mount::treeName(sliceName));
  if (!isNew && at->second == config->genTime()) return;
  at->second = config->genTime();
  log_.info("slice " + at->first + " detected, " + counted(config->chipConfig().size(), "chip"));
  changed_();
}

void PlatformHelper::chipAdded(ChipInfo const& chipInfo) {
  if (!mount_) return;
  log_.info(chipText(chipInfo) + " runs, " + counted(chipInfo.intfId().size(), "interface"));
  changed_();
}

void PlatformHelper::chipRemoved(DeviceId deviceId) {
  if (!mount_) return;
  log_.info(chipText(mount_->systemStatus()->chipInfo(deviceId)) + " withdrawn");
  changed_();
}

void PlatformHelper::featureAgentResetRequested(Duration genTime) {
  if (!mount_) return;
  if (genTime <= lastFeatureReset_ || genTime < lastFeatureRestart_) {
    log_.info("no feature agent restarted: the request of " + asInFiles(genTime) +
              " is not newer than that of " +
              asInFiles(std::max(lastFeatureReset_, lastFeatureRestart_)));
    return;
  }
  lastFeatureReset_ = genTime;
  auto const count = mount_->featureLauncherDir()->entityPtrCount();
  log_.info("restarting " + counted(count, "feature agent") + " on request");
  mount_->featureLauncher().restartAll(genTime);
}

void PlatformHelper::featureCollection(Ptr<FeatureCollection> const& featureColl) const {
  if (mount_) mount_->features().collectionIs(featureColl);
}

Ptr<ChipConfig> PlatformHelper::createChipConfig(String const& chipName,
                                                 Ptr<Kesh::Dir> const& sliceConfigDir) {
  return Vunda::ptrCast<ChipConfig>(sliceConfigDir->createEntity(ChipConfig::typeName, chipName));
}

}  // namespace Oru::Agent
