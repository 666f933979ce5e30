#pragma once

#include <string>
#include <vector>

#include "tools/Context.h"
#include "tools/TreeData.h"

namespace Oru::Tools {

// What `oructl reset` is told.
struct ResetOptions {
  std::string kind;                // chip, slice, all, features
  std::vector<std::string> names;  // of chips or slices
  std::string slice;               // of the chips; empty: found by their names
  std::string cause = "operator request";
  std::string reason = "userRequest";  // a word or a number
  std::string requester = "oructl";
  bool wait = false;
  double timeout = 60;  // seconds
};

// One request as it stands in the tree.
struct MadeRequest {
  TreeData::ResetId id;
  Mount::Codec::ResetData data;
};

// The reason of that word or number. Raises Failure (exitUsage).
Central::ResetReason reasonOf(std::string const& text);
std::vector<std::string> reasonWords();

// The requests that the options ask for, of the time `time`; or just above it when the tree knows
// later times, because the clock was set back or somebody has dated a request ahead: above every
// chip's generation, above what the feature agents were restarted for, and above what the same file
// asked for before. Only at the end of the year 9999 that ends, and a request can be outdated.
// Raises Failure for names that the tree does not know.
std::vector<MadeRequest> requestsOf(ResetOptions const& options, TreeData const& data, double time);

// Writes the requests, and waits for their answers if it is told to. Raises Failure.
int reset(Context const& context, ResetOptions const& options);

}  // namespace Oru::Tools
