#pragma once

#include <string>

#include "runtime/ringlog/Reader.h"
#include "tools/Context.h"
#include "tools/Json.h"

namespace Oru::Tools {

// What `oructl trace` is told.
struct TraceOptions {
  std::string file;
  std::string levels = "all";
  bool follow = false;
  bool json = false;
  std::string chrome;  // file for the timeline; empty: none
};

// Decodes a trace file. Raises Failure.
int trace(Context const& context, TraceOptions const& options);

// A record as a line for people: "2026-01-31T23:59:59.000001234Z 3 central/CentralSm.cpp:120
// handleHwConfigDir: Starting slice agent Slice1", and as an object.
std::string lineOf(Ringlog::Record const& record, Style const& style);
Json jsonOf(Ringlog::Record const& record);

}  // namespace Oru::Tools
