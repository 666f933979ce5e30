#pragma once

#include <memory>

#include "sim/SampleAgent.h"

namespace Oru::Sim {

// Says that its slice's board is there: makes status/<slice>/ with a first file for each chip that
// hw/config/<slice>.json lists, and removes the directory when the board is gone. That is told by
// hw/status/<slice>.json, because oru-agent then knows it as well: a board that was gone for a
// moment, unseen by oru-agent, keeps its status. While the board is there the directory is left
// alone, at the agent's end too.
std::unique_ptr<SampleAgent> makeSliceAgent(AgentOptions options);

// Follows config/<slice>/<chip>.json, in whichever slice that is: initialises its chip for each new
// generation and reports it with the ports' interfaces of hw/config/<slice>.json in
// status/<slice>/<chip>.json.
std::unique_ptr<SampleAgent> makeChipAgent(AgentOptions options);

// Reads features/<feature>.json and says when the feature is switched.
std::unique_ptr<SampleAgent> makeFeatureAgent(AgentOptions options);

}  // namespace Oru::Sim
