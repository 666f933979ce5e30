#pragma once

#include <string>
#include <vector>

#include "tools/TreeData.h"

namespace Oru::Tools {

// What became of a reset request for one chip, slice or feature agent.
struct ResetOutcome {
  enum class Kind {
    reset,        // it has been started anew for this request
    outdated,     // it had been configured, or was restarted, for a time not before the request's
    notInserted,  // the slice is not inserted, or its agent has not reported
    notFound,     // the slice has no such chip
  };

  Kind kind = Kind::notFound;
  // Of a chip; the chip alone is empty when the whole slice was not found. Both are empty for a
  // feature agent.
  std::string slice, chip;
  std::string feature;
  // Outdated: the chip's generation that is not older than the request; what the feature agent was
  // last restarted for, which is older when the request came too late for a reason that is not in
  // the tree any more.
  double configured = 0;
};

// "reset", "outdated", "not inserted", "not found".
char const* wordOf(ResetOutcome::Kind kind);
// "chip Slice1/Chip1", "slice Slice1", "feature agent Telemetry".
std::string subjectOf(ResetOutcome const& outcome);

// Whether the request's answer stands.
bool isAnswered(TreeData const& data, TreeData::ResetId const& id, double genTime);

// What became of an answered request: `before` is the tree as it was when the request was made,
// `after` as it is with the answer. In natural order.
std::vector<ResetOutcome> outcomesOf(Mount::Codec::ResetData const& request, TreeData const& before,
                                     TreeData const& after);

// How a reset chip or feature agent stands now: not yet back, back in service with the generation
// that it is configured for, or taken away meanwhile.
enum class Return { pending, running, gone };
Return returnOf(ResetOutcome const& outcome, double requested, TreeData const& now);

}  // namespace Oru::Tools
