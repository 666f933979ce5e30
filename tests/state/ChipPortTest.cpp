#include "state/ChipPort.h"

#include <gtest/gtest.h>

namespace {

using Oru::Central::ChipPort;
using Oru::Central::DeviceId;

TEST(ChipPort, HoldsTheDeviceInTheLowByteAndThePortInTheUpperHalf) {
  EXPECT_EQ(ChipPort(DeviceId(0x12), 0xabcd).word(), 0xabcd0012U);
  EXPECT_EQ(ChipPort(DeviceId(0), 0).word(), 0U);
  EXPECT_EQ(ChipPort(DeviceId(64), 0xffff).word(), 0xffff0040U);
}

TEST(ChipPort, GivesDeviceAndPortBack) {
  for (std::uint16_t device = 0; device <= DeviceId::null; ++device) {
    for (std::uint32_t port : {0U, 1U, 0xffU, 0x100U, 0x8000U, 0xffffU}) {
      ChipPort const chipPort(DeviceId(device), static_cast<std::uint16_t>(port));
      EXPECT_EQ(chipPort.deviceId(), DeviceId(device));
      EXPECT_EQ(chipPort.portId(), port);
    }
  }
}

TEST(ChipPort, DefaultIsAPortOfNoDevice) {
  EXPECT_TRUE(ChipPort().deviceId().isNull());
  EXPECT_EQ(ChipPort().portId(), 0);
}

TEST(ChipPort, ComparesDeviceAndPort) {
  EXPECT_EQ(ChipPort(DeviceId(1), 2), ChipPort(DeviceId(1), 2));
  EXPECT_NE(ChipPort(DeviceId(1), 2), ChipPort(DeviceId(1), 3));
  EXPECT_NE(ChipPort(DeviceId(1), 2), ChipPort(DeviceId(2), 2));
}

}  // namespace
