#pragma once

#include <string>

#include "tests/central/DeviceHelper.h"
#include "tests/central/StateText.h"

namespace OruTest {

// What is wrong with who watches what and who holds what, one line each, empty when all is right.
// At rest each node has one subscriber per machine that watches it, and one user per directory,
// collection or machine that holds it. The caller holds nothing but the device, the helper and the
// root, each once.
std::string brokenOwnership(Device const& device, Oru::Central::CentralSm const& root,
                            DeviceHelper const& helper);

// The nodes of the device that have subscribers, and how many: "hwConfig/Slice1 1", one line each.
std::string subscriptionText(Device const& device, Oru::Central::FeatureCollection const* features);

// What must hold at rest of slices, chips and the system status, as far as the entities themselves
// show it; empty when it does.
std::string brokenInvariants(Device const& device, Oru::Central::CentralSm const& root);

}  // namespace OruTest
