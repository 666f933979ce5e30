#pragma once

#include <string>
#include <string_view>

#include "central/OruCentralSm.h"
#include "helper/FeatureCollection.h"

namespace OruTest {

// The shared directories of a device, as a hosting agent hands them to the factory. Any may be
// null.
struct Device {
  Vunda::Ptr<Kesh::Dir> hwConfigDir, hwStatusDir, configDir, statusDir;
  Vunda::Ptr<Oru::Central::SystemStatus> systemStatus;
  Vunda::Ptr<Kesh::Dir> resetRequestDir, resetStatusDir;
  Vunda::Ptr<Kesh::Dir> sliceLauncher, chipLauncher, featureLauncher;

  static Device make();
};

// The values of the state model as tests write them.
std::string textOf(Vunda::String const& text);
std::string textOf(Vunda::Duration duration);                   // shortest form
std::string textOf(Oru::Central::DeviceId id);                  // 1
std::string textOf(Oru::Central::ChipCollection const& chips);  // 1,2
std::string textOf(Oru::Central::ChipInfo const& info);  // Chip1@Slice1 genTime=5 Et1/1 Et1/2
std::string textOf(Oru::Central::ChipPort port);         // 1:7
std::string textOf(
    Oru::Central::ResetEntry const& entry);  // cause="..." reason=userRequest genTime=5

// All that the machines wrote, one line per entry and in the order of insertion, then the machines
// themselves:
//
//   hwStatus/Slice1 genTime=5
//   config/Slice1/Chip1 deviceId=1 enabled genTime=1001 syncGenTime=1002
//   sliceLauncher/Slice1
//   chipLauncher/Chip1
//   chipInfo[1] Chip1@Slice1 genTime=1001 Et1/1 Et1/2
//   sliceToChipMap[Slice1] 1
//   intfToChipPort[Et1/1] 1:1
//   resetStatus/ops/chip,Chip1,Slice1 cause="test" reason=userRequest genTime=1500
//   sliceSm/Slice1/Chip1
//   resetSm/ops/chip,Chip1,Slice1
std::string stateText(Device const& device, Oru::Central::CentralSm const* root);

// A raw string literal as lines: without the first newline, and without the blanks that indent it.
std::string lines(std::string_view literal);

}  // namespace OruTest
