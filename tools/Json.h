#pragma once

#include <nlohmann/json.hpp>
#include <ostream>
#include <string>
#include <string_view>

namespace Oru::Tools {

// The one home of JSON output; docs/oructl-json.md describes every schema. All of it is ASCII,
// whatever names are in it.
using Json = nlohmann::ordered_json;

// What every document and every line begins with: {"schema": "oructl.NAME", "version": N}. The
// version of a schema grows when a field changes its meaning or goes; fields may be added.
Json jsonFor(std::string_view name);

// One document, indented.
void printDocument(std::ostream& out, Json const& json);
// One document on one line, flushed: the reader may be waiting for it.
void printLine(std::ostream& out, Json const& json);

}  // namespace Oru::Tools
