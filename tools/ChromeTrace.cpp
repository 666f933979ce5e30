#include "tools/ChromeTrace.h"

#include <utility>
#include <vector>

namespace Oru::Tools {

namespace {

// The format's unit. Since 1970 a double holds them to a quarter of one.
double microseconds(std::int64_t nanoseconds) { return static_cast<double>(nanoseconds) / 1000.0; }

}  // namespace

ChromeTrace::ChromeTrace(std::ostream& out, std::uint32_t processId)
    : out_(out), processId_(processId) {
  out_ << "{\"displayTimeUnit\":\"ms\",\"traceEvents\":[";
  auto name = event("M", "process_name", 0);
  name["args"] = {{"name", "process " + std::to_string(processId)}};
  write(name);
}

void ChromeTrace::add(Ringlog::Record const& record) {
  last_ = record.wallNanoseconds;
  std::string const unit = unit_.of(record);
  auto json = event("i", record.text, trackOf(unit));
  json["s"] = "t";
  json["ts"] = microseconds(last_);
  json["cat"] = "level " + std::to_string(record.level);
  json["args"] = {{"function", record.function},
                  {"source", record.file + ':' + std::to_string(record.line)}};
  write(json);
  if (auto const found = unitChangeOf(record)) change(*found, last_);
}

void ChromeTrace::finish() {
  std::vector<std::string> units;
  for (auto const& [unit, span] : spans_) units.push_back(unit);
  for (auto const& unit : units) endSpan(unit, last_);
  out_ << "\n]}\n";
}

unsigned ChromeTrace::trackOf(std::string const& unit) {
  auto const [at, isNew] = tracks_.emplace(unit, static_cast<unsigned>(tracks_.size()) + 1);
  if (isNew) {
    auto name = event("M", "thread_name", at->second);
    name["args"] = {{"name", unit}};
    write(name);
  }
  return at->second;
}

void ChromeTrace::change(UnitChange const& change, std::int64_t time) {
  auto const present = spans_.find(change.unit);
  if (present != spans_.end() && present->second.name == change.state) return;
  endSpan(change.unit, time);
  if (!change.state.empty()) spans_[change.unit] = {change.state, time};
}

void ChromeTrace::endSpan(std::string const& unit, std::int64_t time) {
  auto const span = spans_.extract(unit);
  if (!span) return;
  auto json = event("X", span.mapped().name, trackOf(unit));
  json["ts"] = microseconds(span.mapped().begin);
  json["dur"] = microseconds(time - span.mapped().begin);
  json["cat"] = "state";
  write(json);
}

Json ChromeTrace::event(char const* phase, std::string const& name, unsigned track) const {
  return {{"ph", phase}, {"name", name}, {"pid", processId_}, {"tid", track}};
}

void ChromeTrace::write(Json const& json) {
  out_ << (std::exchange(first_, false) ? "\n" : ",\n")
       << json.dump(-1, ' ', true, Json::error_handler_t::replace);
}

}  // namespace Oru::Tools
