#include "state/ChipConfig.h"

#include <gtest/gtest.h>

#include "state/ChipStatus.h"
#include "tests/state/Mutators.h"

namespace {

using Lanko::IntfId;
using Oru::Central::ChipConfig;
using Oru::Central::ChipStatus;
using Oru::Central::DeviceId;
using Oru::Central::PortId;
using OruTest::expectAttribute;
using OruTest::expectMember;
using Vunda::Duration;
using Vunda::makeNode;

TEST(ChipConfig, StartsWithoutDeviceDisabledAndNeverStarted) {
  auto const config = makeNode<ChipConfig>("Chip1");
  EXPECT_TRUE(config->deviceId().isNull());
  EXPECT_FALSE(config->enabled());
  EXPECT_EQ(config->genTime(), Duration(0));
  EXPECT_EQ(config->syncGenTime(), Duration(0));
}

TEST(ChipConfig, AttributesAreWrittenAndAnnouncedOnChange) {
  auto const config = makeNode<ChipConfig>("Chip1");
  expectAttribute(
      *config, ChipConfig::deviceIdField, DeviceId(), DeviceId(7),
      [](ChipConfig const& of) { return of.deviceId(); },
      [](ChipConfig& of, DeviceId value) { of.deviceIdIs(value); });
  expectAttribute(
      *config, ChipConfig::enabledField, false, true,
      [](ChipConfig const& of) { return of.enabled(); },
      [](ChipConfig& of, bool value) { of.enabledIs(value); });
  expectAttribute(
      *config, ChipConfig::genTimeField, Duration(), Duration(5),
      [](ChipConfig const& of) { return of.genTime(); },
      [](ChipConfig& of, Duration value) { of.genTimeIs(value); });
  expectAttribute(
      *config, ChipConfig::syncGenTimeField, Duration(), Duration(6),
      [](ChipConfig const& of) { return of.syncGenTime(); },
      [](ChipConfig& of, Duration value) { of.syncGenTimeIs(value); });
}

TEST(ChipStatus, GenTimeIsWrittenAndAnnouncedOnChange) {
  auto const status = makeNode<ChipStatus>("Chip1");
  expectAttribute(
      *status, ChipStatus::genTimeField, Duration(), Duration(5),
      [](ChipStatus const& of) { return of.genTime(); },
      [](ChipStatus& of, Duration value) { of.genTimeIs(value); });
}

TEST(ChipStatus, PortsAreKeptUnderTheirInterfaces) {
  auto const status = makeNode<ChipStatus>("Chip1");
  IntfId intf;
  intf.handleInitialized("Ethernet1");
  expectMember(
      *status, ChipStatus::intfToPortIdField, intf, PortId{0}, PortId{0}, PortId{9},
      [](ChipStatus const& of, IntfId id) { return of.intfToPortId().value(id); },
      [](ChipStatus& of, IntfId id, PortId port) { of.intfToPortIdIs(id, port); },
      [](ChipStatus& of, IntfId id) { of.intfToPortIdDel(id); });
}

}  // namespace
