// A hosting agent in small: a slice with one chip is inserted, and the library starts its slice agent.

#include <cstdio>

#include "central/OruCentralSm.h"
#include "helper/FeatureCollection.h"
#include "state/StateTypes.h"

namespace {

using Oru::Central::ChipConfig;

class Platform : public OruHelper::CentralHelper {
 public:
  using CentralHelper::CentralHelper;

  void featureCollection(
      Vunda::Ptr<Oru::Central::FeatureCollection> const& features) const override {
    features->featureIs("telemetry", true);
  }

  Vunda::Ptr<ChipConfig> createChipConfig(Vunda::String const& chip,
                                          Vunda::Ptr<Kesh::Dir> const& slice) override {
    return Vunda::ptrCast<ChipConfig>(slice->createEntity(ChipConfig::typeName, chip));
  }
};

Vunda::Ptr<Kesh::Dir> makeDir(char const* name) { return Vunda::makeNode<Kesh::Dir>(name); }

int failures = 0;

void expect(bool holds, char const* what) {
  std::printf("%s: %s\n", what, holds ? "yes" : "NO");
  failures += holds ? 0 : 1;
}

}  // namespace

int main() {
  Oru::Central::registerStateTypes();
  auto const hwConfig = makeDir("hwConfig");
  auto const config = makeDir("config");
  auto const sliceLauncher = makeDir("sliceLauncher");
  auto const chipLauncher = makeDir("chipLauncher");
  auto const featureLauncher = makeDir("featureLauncher");
  auto const root = Oru::Central::centralSmFactory(
      hwConfig, makeDir("hwStatus"), config, makeDir("status"),
      Vunda::makeNode<Oru::Central::SystemStatus>("system"), makeDir("resetRequest"),
      makeDir("resetStatus"), sliceLauncher, chipLauncher, featureLauncher,
      Vunda::makeNode<Platform>("platform"));

  auto const slice = Vunda::makeNode<Oru::Central::SliceHwConfig>("Slice1");
  auto const chip = Vunda::makeNode<Oru::Central::ChipHwConfig>("Chip1");
  chip->deviceIdIs(7);
  slice->chipConfigIs(chip);
  hwConfig->entityIs(slice);

  expect(sliceLauncher->entityPtrHas("Slice1"), "slice agent started");
  auto const sliceConfig = Vunda::ptrCast<Kesh::Dir>(config->entityPtr("Slice1"));
  auto const chipConfig =
      sliceConfig ? Vunda::ptrCast<ChipConfig>(sliceConfig->entityPtr("Chip1")) : nullptr;
  expect(chipConfig && chipConfig->deviceId() == Oru::Central::DeviceId(7), "chip configured");

  expect(Oru::Central::featureCollectionFactory()->feature().size() == 0, "feature collection");
  return failures == 0 ? 0 : 1;
}
