// A device on which everything happens in a random order. After every step all that must hold at
// rest is checked against the real objects. A failure names the seed and the steps; ORU_TEST_SEED
// in the environment runs one seed.

#include <cstdlib>
#include <random>
#include <set>
#include <sstream>

#include "runtime/kesh/System.h"
#include "tests/central/CentralFixture.h"
#include "tests/central/Invariants.h"

namespace {

using namespace OruTest;
using Kesh::Dir;

class RandomDeviceTest : public CentralFixture {
 protected:
  static constexpr int slices = 3, chipsPerSlice = 3;

  void run(unsigned seed, int steps) {
    random_.seed(seed);
    traces("none");
    journal_.hookIs([this](std::string const& line) { helperSaid(line); });
    start();
    std::string story;
    for (int step = 0; step < steps && !HasFailure(); ++step) {
      auto const& rule = rules[pick(rules.size())];
      std::string const did = (this->*rule)();
      if (did.empty()) continue;
      story += did + "\n";
      journal();
      verify();
    }
    if (HasFailure()) ADD_FAILURE() << "seed " << seed << "\n" << story;
  }

 private:
  using Rule = std::string (RandomDeviceTest::*)();
  static std::vector<Rule> const rules;

  std::size_t pick(std::size_t below) {
    return std::uniform_int_distribution<std::size_t>(0, below - 1)(random_);
  }
  bool chance() { return pick(2) == 0; }
  std::string anySlice() { return "Slice" + std::to_string(pick(slices) + 1); }
  std::string anyChipOf(std::string const& slice) {
    auto const first = (slice.back() - '1') * chipsPerSlice + 1;
    std::string const chip = "Chip" + std::to_string(first + static_cast<int>(pick(chipsPerSlice)));
    chips_[chip] = slice;
    return chip;
  }
  std::string anyDir() { return chance() ? "ops" : "cli"; }
  double now() { return Kesh::System::currentTime().seconds(); }
  Ptr<Dir> statusOf(std::string const& slice) {
    return Vunda::ptrCast<Dir>(device.statusDir->entityPtr(String(slice)));
  }
  Ptr<ChipConfig> configOf(std::string const& slice, std::string const& chip) {
    auto const dir = Vunda::ptrCast<Dir>(device.configDir->entityPtr(String(slice)));
    return dir ? Vunda::ptrCast<ChipConfig>(dir->entityPtr(String(chip))) : nullptr;
  }
  bool hasMachine(std::string const& slice, std::string const& chip) {
    auto const sm = sliceSm(slice);
    return sm && sm->chipSm(String(chip));
  }

  // The platform.
  std::string sliceIsInserted() {
    std::string const slice = anySlice();
    if (hwConfig(slice) || sliceSm(slice)) return "";
    Names names;
    for (std::size_t i = pick(chipsPerSlice + 1); i > 0; --i) names.push_back(anyChipOf(slice));
    insertSlice(slice, names, chance() ? 0 : now());
    return slice + " inserted";
  }
  std::string sliceIsRemoved() {
    std::string const slice = anySlice();
    if (!hwConfig(slice)) return "";
    removeSlice(slice);
    return slice + " removed";
  }
  std::string sliceIsAnnounced() {
    std::string const slice = anySlice();
    if (!hwConfig(slice)) return "";
    announceSlice(slice);
    return slice + " announced";
  }
  std::string boardIsReplaced() {
    std::string const slice = anySlice();
    if (!hwConfig(slice)) return "";
    passes_.insert(slice);
    hwGenTimeIs(slice, now());
    return slice + " has a new board";
  }
  std::string chipListChanges() {
    std::string const slice = anySlice();
    if (!hwConfig(slice)) return "";
    std::string const chip = anyChipOf(slice);
    if (hwConfig(slice)->chipConfig(String(chip))) {
      hwConfig(slice)->chipConfigDel(String(chip));
    } else {
      hwConfig(slice)->chipConfigIs(makeChip(chip));
    }
    announceSlice(slice);
    passes_.insert(slice);
    hwGenTimeIs(slice, now());
    return slice + " has or has not " + chip;
  }

  // The agents.
  std::string statusAppears() {
    std::string const slice = anySlice();
    if (statusOf(slice)) return "";
    sliceAgentReports(slice);
    return slice + " reports";
  }
  std::string statusLeaves() {
    std::string const slice = anySlice();
    if (!statusOf(slice)) return "";
    sliceAgentLeaves(slice);
    return slice + " leaves";
  }
  std::string chipStatusAppears() {
    std::string const slice = anySlice(), chip = anyChipOf(slice);
    if (!statusOf(slice) || statusOf(slice)->entityPtrHas(String(chip))) return "";
    if (hasMachine(slice, chip)) return "";
    statusOf(slice)->entityIs(Vunda::makeNode<ChipStatus>(String(chip)));
    return chip + " reports";
  }
  std::string chipStatusLeaves() {
    std::string const slice = anySlice(), chip = anyChipOf(slice);
    if (!statusOf(slice) || !statusOf(slice)->entityPtrHas(String(chip)) || hasMachine(slice, chip))
      return "";
    statusOf(slice)->deleteEntity(String(chip));
    return chip + " leaves";
  }
  std::string chipReports() {
    std::string const slice = anySlice(), chip = anyChipOf(slice);
    auto const config = configOf(slice, chip);
    auto const status = statusOf(slice)
                            ? Vunda::ptrCast<ChipStatus>(statusOf(slice)->entityPtr(String(chip)))
                            : nullptr;
    if (!config || !status) return "";
    if (pick(4) == 0) {
      Lanko::IntfId intf;
      intf.handleInitialized(String("Et" + chip.substr(4) + "/" + std::to_string(pick(3))));
      chance() ? status->intfToPortIdIs(intf, 1) : status->intfToPortIdDel(intf);
      return chip + " reports interfaces";
    }
    status->genTimeIs(
        Duration(pick(5) == 0 ? config->genTime().seconds() / 2 : config->genTime().seconds()));
    return chip + " reports " + textOf(status->genTime());
  }

  // Operators.
  std::string requestIsMade() {
    std::string const dir = anyDir(), slice = anySlice(), chip = anyChipOf(slice);
    ResetType const type = static_cast<ResetType>(pick(6));
    ResetKey const key(type, chance() ? String(chip) : String(), String(slice));
    double const time = pick(5) == 0 ? 0 : chance() ? now() : 1;
    auto const entry = makeRequest(key, time);
    entry->resetCauseIs(String(std::to_string(pick(1000))));
    if (!requestDir(dir)) requestDirAppears(dir);
    triggered(dir, *entry);
    auto const targets = targetsOf(key);
    requestDir(dir)->resetRequestIs(entry);
    if (time != 0) expectReset(targets, time);
    return dir + " requests " + Oru::Central::ringText(key) + " at " + textOf(Duration(time));
  }
  std::string requestIsChanged() {
    std::string const dir = anyDir();
    auto const entry = anyRequest(dir);
    if (!entry) return "";
    entry->resetCauseIs(String(std::to_string(pick(1000))));
    if (chance()) return dir + " words a request anew";
    double const time = pick(5) == 0 ? 0 : now();
    if (time != 0)
      records_[dir + "/" + Oru::Central::ringText(entry->key())] = recordText(*entry, time);
    entry->genTimeIs(Duration(time));
    return dir + " renews a request";
  }
  std::string requestIsWithdrawn() {
    std::string const dir = anyDir();
    auto const entry = anyRequest(dir);
    if (!entry) return "";
    records_.erase(dir + "/" + Oru::Central::ringText(entry->key()));
    requestDir(dir)->resetRequestDel(entry->key());
    return dir + " withdraws a request";
  }
  std::string requestDirGoes() {
    std::string const dir = anyDir();
    if (!requestDir(dir) || pick(4) != 0) return "";
    device.resetRequestDir->deleteEntity(String(dir));
    return dir + " goes";
  }

  // The hosting agent.
  std::string featureChanges() {
    String const name(std::string("feature" + std::to_string(pick(3))));
    switch (pick(3)) {
      case 0:
        helper->featureColl()->featureDel(name);
        break;
      default:
        helper->featureColl()->featureIs(name, chance());
    }
    return "a feature changes";
  }
  std::string agentRestarts() {
    if (pick(6) != 0) return "";
    stop();
    expectStopped();
    told_.clear();
    passes_.clear();
    for (std::string const dir : {"ops", "cli"}) {
      if (!requestDir(dir)) continue;
      for (auto it = requestDir(dir)->resetRequest().iterator(); it; ++it)
        triggered(dir, *it.value());
    }
    start();
    return "the agent restarts";
  }
  std::string clockMoves() {
    clock.nowIs(clock.now() + (chance() ? 100 : -50));
    return "the clock moves";
  }

  Ptr<ResetEntry> anyRequest(std::string const& dir) {
    if (!requestDir(dir) || requestDir(dir)->resetRequest().empty()) return nullptr;
    auto it = requestDir(dir)->resetRequest().iterator();
    for (std::size_t skip = pick(requestDir(dir)->resetRequest().size()); skip > 0; --skip) ++it;
    return it.value();
  }

  static std::string recordText(ResetEntry const& entry, double time) {
    return textOf(entry.resetCause()) + " " + textOf(Duration(time));
  }
  // The request is about to be carried out.
  void triggered(std::string const& dir, ResetEntry const& entry) {
    if (!entry.genTime()) return;
    records_[dir + "/" + Oru::Central::ringText(entry.key())] =
        recordText(entry, entry.genTime().seconds());
  }

  std::vector<Ptr<ChipConfig>> targetsOf(ResetKey const& key) {
    std::vector<Ptr<ChipConfig>> targets;
    if (key.resetType() == ResetType::featureAgents) return targets;
    for (auto slice = root->sliceSm().iterator(); slice; ++slice) {
      bool const every = key.resetType() != ResetType::chip && key.resetType() != ResetType::slice;
      if (!every && slice.key() != key.sliceName()) continue;
      for (auto chip = slice.value()->chipSm().iterator(); chip; ++chip) {
        if (key.resetType() != ResetType::chip || chip.key() == key.chipName())
          targets.push_back(chip.value()->config());
      }
    }
    return targets;
  }
  static void expectReset(std::vector<Ptr<ChipConfig>> const& targets, double time) {
    for (auto const& config : targets)
      EXPECT_GE(config->genTime(), Duration(time)) << config->name();
  }

  // Folds the helper's calls into the set of chips that it was told of.
  void helperSaid(std::string const& line) {
    std::istringstream words(line);
    std::string operation, id;
    words >> operation >> id;
    if (operation == "helper.chipAdded") told_.insert(id);
    if (operation == "helper.chipRemoved") told_.erase(id);
    EXPECT_FALSE(operation == "helper.syncStateOnInit" && !id.empty()) << line;
  }

  void verify() {
    EXPECT_EQ(brokenInvariants(device, *root), "");
    EXPECT_EQ(brokenOwnership(device, *root, *helper), "");
    std::set<std::string> published;
    for (auto it = device.systemStatus->chipInfo().iterator(); it; ++it)
      published.insert(textOf(it.key()));
    EXPECT_EQ(told_, published) << "chips that the helper was told of";
    verifyPasses();
    verifyGenerations();
    verifyRecords();
  }

  // After a pass the chip machines are those that are configured, and the hardware status has
  // caught up.
  void verifyPasses() {
    for (auto it = root->sliceSm().iterator(); it; ++it) {
      auto const slice = it.value();
      bool everyStatus = true;
      for (auto chip = slice->hwConfig()->chipConfig().iterator(); chip; ++chip) {
        everyStatus = everyStatus && slice->statusDir()->entityPtrHas(chip.key());
      }
      if (!slice->hwConfig()->genTime() || !(everyStatus || passes_.count(textOf(it.key()))))
        continue;
      EXPECT_EQ(slice->chipSm().size(), slice->hwConfig()->chipConfig().size()) << it.key();
      for (auto chip = slice->hwConfig()->chipConfig().iterator(); chip; ++chip) {
        EXPECT_TRUE(slice->chipSm(chip.key())) << chip.key();
      }
      EXPECT_GE(slice->hwStatus()->genTime(), slice->hwConfig()->genTime()) << it.key();
    }
    std::erase_if(passes_, [this](std::string const& slice) { return !sliceSm(slice); });
  }

  // A configuration's generation never falls.
  void verifyGenerations() {
    for (auto const& [chip, slice] : chips_) {
      auto const config = configOf(slice, chip);
      if (!config) continue;
      EXPECT_GE(config->genTime(), generations_[chip]) << chip;
      generations_[chip] = config->genTime();
    }
  }

  void verifyRecords() {
    std::map<std::string, std::string> actual;
    for (auto dir = device.resetStatusDir->entityPtrIteratorConst(); dir; ++dir) {
      auto const status = Vunda::ptrCast<ResetStatusDir const>(dir.entity());
      for (auto it = status->resetStatus().iterator(); it; ++it) {
        actual[textOf(dir.name()) + "/" + Oru::Central::ringText(it.key())] =
            recordText(*it.value(), it.value()->genTime().seconds());
      }
    }
    EXPECT_EQ(actual, records_);
  }

  void expectStopped() {
    EXPECT_EQ(subscriptions(), "");
    EXPECT_EQ(device.chipLauncher->entityPtrCount(), 0u);
    EXPECT_EQ(device.systemStatus->chipInfo().size(), 0u);
    EXPECT_EQ(device.systemStatus->sliceToChipMap().size(), 0u);
  }

  std::mt19937 random_;
  std::set<std::string> told_, passes_;
  std::map<std::string, std::string> chips_, records_;
  std::map<std::string, Duration> generations_;
};

std::vector<RandomDeviceTest::Rule> const RandomDeviceTest::rules = {
    &RandomDeviceTest::sliceIsInserted,    &RandomDeviceTest::sliceIsRemoved,
    &RandomDeviceTest::sliceIsAnnounced,   &RandomDeviceTest::boardIsReplaced,
    &RandomDeviceTest::chipListChanges,    &RandomDeviceTest::statusAppears,
    &RandomDeviceTest::statusAppears,      &RandomDeviceTest::statusLeaves,
    &RandomDeviceTest::chipStatusAppears,  &RandomDeviceTest::chipStatusAppears,
    &RandomDeviceTest::chipStatusAppears,  &RandomDeviceTest::chipStatusLeaves,
    &RandomDeviceTest::chipReports,        &RandomDeviceTest::chipReports,
    &RandomDeviceTest::chipReports,        &RandomDeviceTest::chipReports,
    &RandomDeviceTest::requestIsMade,      &RandomDeviceTest::requestIsChanged,
    &RandomDeviceTest::requestIsWithdrawn, &RandomDeviceTest::requestDirGoes,
    &RandomDeviceTest::featureChanges,     &RandomDeviceTest::agentRestarts,
    &RandomDeviceTest::clockMoves,
};

class SeededDeviceTest : public RandomDeviceTest, public testing::WithParamInterface<unsigned> {};

TEST_P(SeededDeviceTest, HoldsItsInvariantsAfterEveryStep) { run(GetParam(), 500); }

std::vector<unsigned> seeds() {
  if (char const* const one = std::getenv("ORU_TEST_SEED"))
    return {static_cast<unsigned>(std::atoi(one))};
  std::vector<unsigned> all(40);
  for (unsigned i = 0; i < all.size(); ++i) all[i] = i + 1;
  return all;
}

INSTANTIATE_TEST_SUITE_P(Seeds, SeededDeviceTest, testing::ValuesIn(seeds()));

}  // namespace
