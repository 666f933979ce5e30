// Surroundings that act from within every helper call and every write: remove what is being worked
// on, announce it again, reset it. Whatever the moment, nothing may be used after it went, leak, or
// lose its subscription.

#include <functional>

#include "tests/central/CentralFixture.h"
#include "tests/central/Invariants.h"

namespace {

using namespace OruTest;

class ReentryTest : public CentralFixture, public testing::WithParamInterface<int> {
 public:
  struct Act {
    char const* name;
    std::function<void(ReentryTest&)> run;
  };
  static Act const scenarios[];
  static Act const disturbances[];

 protected:
  void fresh() {
    journal_.hookIs(nullptr);
    ignoreWrites();
    stop();
    device = Device::make();
    helper = Vunda::makeNode<DeviceHelper>(journal_);
    journal();
  }

  // Runs the scenario on a new device with the disturbance in the nth helper call or write; false
  // when there is no nth.
  bool disturbed(Act const& scenario, Act const& disturbance, int nth) {
    fresh();
    start();
    helper->featureColl()->featureIs("f", true);
    bringUp("Slice1", {"Chip1", "Chip2"});
    request(ResetType::featureAgents, "", "", 7);
    observeWrites();
    int count = 0;
    bool happened = false;
    journal_.hookIs([&](std::string const&) {
      if (count++ != nth) return;
      happened = true;
      disturbance.run(*this);
    });
    scenario.run(*this);
    journal_.hookIs(nullptr);
    ignoreWrites();
    EXPECT_EQ(brokenOwnership(device, *root, *helper), "");
    return happened;
  }

  bool configured() const { return hwConfig("Slice1") && chipConfig("Chip1"); }
};

ReentryTest::Act const ReentryTest::scenarios[] = {
    {"new board",
     [](ReentryTest& t) {
       if (t.hwConfig("Slice1")) t.hwGenTimeIs("Slice1", 6);
     }},
    {"slice reset", [](ReentryTest& t) { t.request(ResetType::slice, "", "Slice1", 5000); }},
    {"all slices reset", [](ReentryTest& t) { t.request(ResetType::allSlices, "", "", 5000); }},
    {"chip reset",
     [](ReentryTest& t) { t.request(ResetType::chip, "Chip1", "Slice1", 5000, "cli"); }},
    {"feature reset", [](ReentryTest& t) { t.request(ResetType::featureAgents, "", "", 5000); }},
    {"agents restarted",
     [](ReentryTest& t) {
       t.sliceSm("Slice1")->doReset(true);
       for (char const* chip : {"Chip1", "Chip2"}) {
         if (t.chipConfig(chip) && t.chipStatus(chip)) t.reportStatus(chip, atConfigGeneration);
       }
     }},
    {"slice leaves", [](ReentryTest& t) { t.sliceAgentLeaves("Slice1"); }},
    {"slice removed",
     [](ReentryTest& t) {
       t.removeSlice("Slice1");
       t.sliceAgentLeaves("Slice1");
     }},
    {"chip dropped",
     [](ReentryTest& t) {
       t.hwConfig("Slice1")->chipConfigDel("Chip1");
       t.hwGenTimeIs("Slice1", 5.5);
     }},
    {"another slice", [](ReentryTest& t) { t.bringUpAgents("Slice2", {"Chip3"}); }},
    {"features",
     [](ReentryTest& t) {
       t.helper->featureColl()->featureIs("g", true);
       t.helper->featureColl()->featureDelAll();
     }},
    {"withdrawal", [](ReentryTest& t) { t.withdraw(ResetType::featureAgents, "", ""); }},
    {"request directory goes",
     [](ReentryTest& t) { t.device.resetRequestDir->deleteEntity("ops"); }},
    {"announced again", [](ReentryTest& t) { t.announceSlice("Slice1"); }},
};

ReentryTest::Act const ReentryTest::disturbances[] = {
    {"the slice agent leaves", [](ReentryTest& t) { t.sliceAgentLeaves("Slice1"); }},
    {"the slice is removed", [](ReentryTest& t) { t.removeSlice("Slice1"); }},
    {"the slice is pulled",
     [](ReentryTest& t) {
       t.removeSlice("Slice1");
       t.sliceAgentLeaves("Slice1");
     }},
    {"the slice bounces",
     [](ReentryTest& t) {
       t.sliceAgentLeaves("Slice1");
       t.sliceAgentReports("Slice1");
     }},
    {"the slice is announced",
     [](ReentryTest& t) {
       if (t.hwConfig("Slice1")) t.announceSlice("Slice1");
     }},
    {"a newer board",
     [](ReentryTest& t) {
       if (t.configured()) t.hwGenTimeIs("Slice1", 60);
     }},
    {"the chip is dropped",
     [](ReentryTest& t) {
       if (!t.configured()) return;
       t.hwConfig("Slice1")->chipConfigDel("Chip1");
       t.hwGenTimeIs("Slice1", 60);
     }},
    {"the chip's status goes",
     [](ReentryTest& t) {
       if (t.device.statusDir->entityPtrHas("Slice1")) t.chipAgentLeaves("Chip1");
     }},
    {"the chip's agent catches up",
     [](ReentryTest& t) {
       if (t.device.statusDir->entityPtrHas("Slice1") && t.chipConfig("Chip1") &&
           t.chipStatus("Chip1")) {
         t.reportStatus("Chip1", atConfigGeneration);
       }
     }},
    {"the slice is reset",
     [](ReentryTest& t) { t.request(ResetType::slice, "", "Slice1", 9000, "other"); }},
    {"a request is withdrawn",
     [](ReentryTest& t) { t.withdraw(ResetType::featureAgents, "", ""); }},
    {"a request is replaced",
     [](ReentryTest& t) {
       if (t.requestDir()) t.request(ResetType::featureAgents, "", "", 9000);
     }},
    {"the requests are gone",
     [](ReentryTest& t) {
       t.device.resetRequestDir->deleteEntity("ops");
       t.device.resetRequestDir->deleteEntity("cli");
     }},
    {"the features are gone", [](ReentryTest& t) { t.helper->featureColl()->featureDelAll(); }},
    {"the slice machine is deleted", [](ReentryTest& t) { t.root->sliceSmDel("Slice1"); }},
    {"the chip machines are deleted",
     [](ReentryTest& t) {
       if (auto const slice = t.sliceSm("Slice1")) slice->chipSmDelAll();
     }},
    {"everything is announced",
     [](ReentryTest& t) {
       t.root->handleHwConfigDir();
       t.root->handleResetRequestDir();
     }},
};

TEST_P(ReentryTest, InEveryHelperCallAndEveryWrite) {
  Act const& disturbance = disturbances[GetParam()];
  traces("none");
  int moments = 0;
  for (Act const& scenario : scenarios) {
    for (int nth = 0; nth < 200; ++nth) {
      SCOPED_TRACE(std::string(scenario.name) + ", " + disturbance.name + ", event " +
                   std::to_string(nth));
      if (!disturbed(scenario, disturbance, nth)) break;
      ++moments;
      if (HasFailure()) return;
    }
  }
  EXPECT_GT(moments, 50);
}

INSTANTIATE_TEST_SUITE_P(Disturbances, ReentryTest,
                         testing::Range(0, static_cast<int>(std::size(ReentryTest::disturbances))));

}  // namespace
