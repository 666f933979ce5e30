#include "tools/Json.h"

namespace Oru::Tools {

namespace {

constexpr int version = 1;

std::string dumped(Json const& json, int indent) {
  return json.dump(indent, ' ', true, Json::error_handler_t::replace);
}

}  // namespace

Json jsonFor(std::string_view name) {
  return {{"schema", "oructl." + std::string(name)}, {"version", version}};
}

void printDocument(std::ostream& out, Json const& json) { out << dumped(json, 2) << '\n'; }

void printLine(std::ostream& out, Json const& json) {
  out << dumped(json, -1) << '\n' << std::flush;
}

}  // namespace Oru::Tools
