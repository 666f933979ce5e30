#include "tests/central/CentralFixture.h"

#include "runtime/kesh/System.h"
#include "tests/central/Invariants.h"

namespace OruTest {

using Kesh::Dir;

namespace {

String string(std::string const& text) { return String(text); }

std::uint16_t numberOf(std::string const& chip) {
  auto const digits = chip.find_last_not_of("0123456789") + 1;
  return static_cast<std::uint16_t>(std::stoul(chip.substr(digits)));
}

}  // namespace

double SimulatedClock::now_ = 0;

SimulatedClock::SimulatedClock() {
  now_ = 1000;
  Kesh::System::clockIs([] { return Duration(++now_); });
}

SimulatedClock::~SimulatedClock() { Kesh::System::clockIs(nullptr); }

CentralFixture::CentralFixture() : helper(Vunda::makeNode<DeviceHelper>(journal_)) {
  Oru::Central::_defaultTraceHandle().sinkIs(&journal_);
  traces("1,3");
}

CentralFixture::~CentralFixture() {
  Oru::Central::_defaultTraceHandle().sinkIs(nullptr);
  traces("none");
}

void CentralFixture::TearDown() {
  journal_.hookIs(nullptr);
  helper->forgetActions();
  ignoreWrites();
  stop();
  EXPECT_EQ(subscriptions(), "") << "subscriptions outlived the root";
  for (auto const& dir : {device.hwConfigDir, device.hwStatusDir, device.configDir,
                          device.statusDir, device.resetRequestDir, device.resetStatusDir,
                          device.sliceLauncher, device.chipLauncher, device.featureLauncher}) {
    // The list that is walked holds it too.
    EXPECT_EQ(dir ? dir->useCount() : 2u, 2u) << dir->name() << " is held beyond the root";
  }
  EXPECT_EQ(helper->useCount(), 1u) << "the helper is held beyond the root";
}

void CentralFixture::start() {
  root = Oru::Central::centralSmFactory(
      device.hwConfigDir, device.hwStatusDir, device.configDir, device.statusDir,
      device.systemStatus, device.resetRequestDir, device.resetStatusDir, device.sliceLauncher,
      device.chipLauncher, device.featureLauncher, helper);
}

void CentralFixture::stop() { root = nullptr; }

void CentralFixture::traces(char const* levels) {
  Oru::Central::_defaultTraceHandle().levelsAre(levels, "the test");
}

void CentralFixture::observeWrites() {
  for (auto const& dir : {device.hwStatusDir, device.configDir, device.sliceLauncher,
                          device.chipLauncher, device.featureLauncher, device.resetStatusDir}) {
    observer_.observe(dir);
  }
  observer_.observe(device.systemStatus);
}

Ptr<ChipHwConfig> CentralFixture::makeChip(std::string const& chip, std::uint16_t deviceId) {
  auto const hwConfig = Vunda::makeNode<ChipHwConfig>(string(chip));
  hwConfig->deviceIdIs(deviceId);
  std::string const prefix = "Et" + std::to_string(numberOf(chip)) + "/";
  for (Oru::Central::PortId const port : {std::uint16_t{1}, std::uint16_t{2}}) {
    hwConfig->portConfigIs(port,
                           Vunda::makeNode<PortHwConfig>(string(prefix + std::to_string(port))));
  }
  return hwConfig;
}

Ptr<ChipHwConfig> CentralFixture::makeChip(std::string const& chip) {
  return makeChip(chip, numberOf(chip));
}

Ptr<SliceHwConfig> CentralFixture::makeSlice(std::string const& slice, Names const& chips,
                                             double genTime) {
  auto const hwConfig = Vunda::makeNode<SliceHwConfig>(string(slice));
  hwConfig->genTimeIs(Duration(genTime));
  for (auto const& chip : chips) {
    hwConfig->chipConfigIs(makeChip(chip));
    sliceOf_[chip] = slice;
  }
  return hwConfig;
}

void CentralFixture::insertSlice(std::string const& slice, Names const& chips, double genTime) {
  device.hwConfigDir->entityIs(makeSlice(slice, chips, genTime));
}

void CentralFixture::announceSlice(std::string const& slice) {
  device.hwConfigDir->entityIs(hwConfig(slice));
}

void CentralFixture::hwGenTimeIs(std::string const& slice, double genTime) {
  hwConfig(slice)->genTimeIs(Duration(genTime));
}

void CentralFixture::removeSlice(std::string const& slice) {
  device.hwConfigDir->deleteEntity(string(slice));
}

void CentralFixture::sliceAgentReports(std::string const& slice) {
  device.statusDir->createEntity(Dir::typeName, string(slice));
}

void CentralFixture::sliceAgentLeaves(std::string const& slice) {
  device.statusDir->deleteEntity(string(slice));
}

void CentralFixture::chipAgentReports(std::string const& chip) {
  statusOf(sliceOf(chip))->entityIs(Vunda::makeNode<ChipStatus>(string(chip)));
}

void CentralFixture::chipAgentLeaves(std::string const& chip) {
  statusOf(sliceOf(chip))->deleteEntity(string(chip));
}

void CentralFixture::reportInterfaces(std::string const& chip) {
  auto const chipHwConfig = hwConfig(sliceOf(chip))->chipConfig(string(chip));
  for (auto port = chipHwConfig->portConfig().iterator(); port; ++port) {
    Lanko::IntfId intf;
    intf.handleInitialized(port.value()->intfName());
    chipStatus(chip)->intfToPortIdIs(intf, port.key());
  }
}

void CentralFixture::reportStatus(std::string const& chip, double genTime) {
  chipStatus(chip)->genTimeIs(Duration(genTime));
}

void CentralFixture::reportStatus(std::string const& chip, AtConfigGeneration) {
  chipStatus(chip)->genTimeIs(chipConfig(chip)->genTime());
}

void CentralFixture::bringUpAgents(std::string const& slice, Names const& chips) {
  insertSlice(slice, chips);
  sliceAgentReports(slice);
  for (auto const& chip : chips) chipAgentReports(chip);
  for (auto const& chip : chips) reportInterfaces(chip);
}

void CentralFixture::bringUp(std::string const& slice, Names const& chips) {
  bringUpAgents(slice, chips);
  for (auto const& chip : chips) reportStatus(chip, atConfigGeneration);
}

Ptr<ResetRequestDir> CentralFixture::requestDirAppears(std::string const& dir) {
  auto const made = Vunda::makeNode<ResetRequestDir>(string(dir));
  device.resetRequestDir->entityIs(made);
  return made;
}

Ptr<ResetEntry> CentralFixture::makeRequest(ResetKey const& key, double genTime) {
  auto const entry = Vunda::makeNode<ResetEntry>(key);
  entry->resetCauseIs("test");
  entry->resetReasonIs(ResetReason::userRequest);
  entry->genTimeIs(Duration(genTime));
  return entry;
}

Ptr<ResetEntry> CentralFixture::request(ResetType type, char const* chip, char const* slice,
                                        double genTime, std::string const& dir) {
  auto const entry = makeRequest(ResetKey(type, chip, slice), genTime);
  auto const present = requestDir(dir);
  (present ? present : requestDirAppears(dir))->resetRequestIs(entry);
  return entry;
}

void CentralFixture::withdraw(ResetType type, char const* chip, char const* slice,
                              std::string const& dir) {
  if (auto const present = requestDir(dir)) present->resetRequestDel(ResetKey(type, chip, slice));
}

template <class T>
Ptr<T> CentralFixture::entity(Ptr<Dir> const& dir, std::string const& name) {
  return dir ? Vunda::ptrCast<T>(dir->entityPtr(string(name))) : nullptr;
}

Ptr<Dir> CentralFixture::statusOf(std::string const& slice) const {
  return entity<Dir>(device.statusDir, slice);
}

Ptr<SliceHwConfig> CentralFixture::hwConfig(std::string const& slice) const {
  return entity<SliceHwConfig>(device.hwConfigDir, slice);
}

Ptr<SliceHwStatus> CentralFixture::hwStatus(std::string const& slice) const {
  return entity<SliceHwStatus>(device.hwStatusDir, slice);
}

Ptr<ChipConfig> CentralFixture::chipConfig(std::string const& chip) const {
  return entity<ChipConfig>(entity<Dir>(device.configDir, sliceOf(chip)), chip);
}

Ptr<ChipStatus> CentralFixture::chipStatus(std::string const& chip) const {
  return entity<ChipStatus>(statusOf(sliceOf(chip)), chip);
}

Ptr<ResetRequestDir> CentralFixture::requestDir(std::string const& dir) const {
  return entity<ResetRequestDir>(device.resetRequestDir, dir);
}

Ptr<ResetStatusDir> CentralFixture::records(std::string const& dir) const {
  return entity<ResetStatusDir>(device.resetStatusDir, dir);
}

Ptr<CentralSliceSm> CentralFixture::sliceSm(std::string const& slice) const {
  return root->sliceSm(string(slice));
}

Ptr<CentralChipSm> CentralFixture::chipSm(std::string const& chip) const {
  auto const slice = sliceSm(sliceOf(chip));
  return slice ? slice->chipSm(string(chip)) : nullptr;
}

Ptr<ResetRequestSm> CentralFixture::resetSm(std::string const& dir) const {
  return root->resetSm(string(dir));
}

std::uint32_t CentralFixture::subscribers(Vunda::Node const& node) {
  return node.publisher()->subscriberCount();
}

std::string CentralFixture::subscriptions() const {
  return subscriptionText(device, helper->featureColl().ptr());
}

}  // namespace OruTest
