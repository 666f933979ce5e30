#pragma once

#include <memory>

#include "sim/SampleAgent.h"

namespace Oru::Sim {

// Says that its slice's board is there: makes status/<slice>/ with a first file for each chip that hw/config/<slice>.json
// lists, and removes the directory when the board goes. While the board is there it leaves the directory alone, its own
// end included.
std::unique_ptr<SampleAgent> makeSliceAgent(AgentOptions options);

// Follows config/<slice>/<chip>.json, in whichever slice that is: initialises its chip for each new generation and reports
// it with the ports' interfaces of hw/config/<slice>.json in status/<slice>/<chip>.json.
std::unique_ptr<SampleAgent> makeChipAgent(AgentOptions options);

// Reads features/<feature>.json and says when the feature is switched.
std::unique_ptr<SampleAgent> makeFeatureAgent(AgentOptions options);

}  // namespace Oru::Sim
