#include "mount/Json.h"

#include <algorithm>
#include <charconv>
#include <set>
#include <utility>

namespace Oru::Mount {

namespace {

using nlohmann::json;

constexpr int depthLimit = 32;

// Watches the parser's way through a text for what the parser itself lets through.
class Guard {
 public:
  bool operator()(int depth, json::parse_event_t event, json const& parsed) {
    using Event = json::parse_event_t;
    if (depth > depthLimit) throw JsonError({}, "nests deeper than " + std::to_string(depthLimit));
    if (event == Event::object_start) fields_.emplace_back();
    if (event == Event::object_end) fields_.pop_back();
    if (event == Event::key && !fields_.back().insert(parsed.get<std::string>()).second)
      throw JsonError(parsed.get<std::string>(), "is given twice");
    return true;
  }

 private:
  std::vector<std::set<std::string>> fields_;
};

std::string lineAndColumn(std::string_view text, std::size_t byte) {
  auto const before = text.substr(0, std::min(byte ? byte - 1 : 0, text.size()));
  auto const line = std::count(before.begin(), before.end(), '\n') + 1;
  auto const column = before.size() - (before.rfind('\n') + 1) + 1;
  return "line " + std::to_string(line) + ", column " + std::to_string(column);
}

std::string rangeText(std::int64_t low, std::int64_t high) {
  return "is not a whole number from " + std::to_string(low) + " to " + std::to_string(high);
}

}  // namespace

JsonError::JsonError(std::string place, std::string reason)
    : std::runtime_error(place.empty() ? reason : place + ' ' + reason),
      place_(std::move(place)),
      reason_(std::move(reason)) {}

json parsedJson(std::string_view text) {
  if (text.empty()) throw JsonError({}, "is empty");
  try {
    Guard guard;
    return json::parse(text, std::ref(guard));
  } catch (json::parse_error const& error) {
    throw JsonError({}, "is not JSON: " + lineAndColumn(text, error.byte));
  } catch (json::exception const&) {
    throw JsonError({}, "is not JSON: a number is out of range");
  }
}

JsonObject::JsonObject(json const& value, std::string place)
    : value_(value), place_(std::move(place)) {
  if (!value_.is_object()) throw JsonError(place_, "is not an object");
}

bool JsonObject::has(char const* field) const { return value_.contains(field); }

json const& JsonObject::value(char const* field) {
  auto const at = value_.find(field);
  if (at == value_.end()) refuse(field, "is missing");
  asked_.emplace_back(field);
  return *at;
}

bool JsonObject::boolean(char const* field) {
  json const& found = value(field);
  if (!found.is_boolean()) refuse(field, "is neither true nor false");
  return found.get<bool>();
}

std::string const& JsonObject::string(char const* field) {
  json const& found = value(field);
  if (!found.is_string()) refuse(field, "is not a string");
  auto const& text = found.get_ref<std::string const&>();
  if (text.find('\0') != std::string::npos) refuse(field, "holds a NUL character");
  return text;
}

std::int64_t JsonObject::integer(char const* field, std::int64_t low, std::int64_t high) {
  json const& found = value(field);
  bool const fits = found.is_number_integer() &&
                    !(found.is_number_unsigned() &&
                      found.get<std::uint64_t>() > static_cast<std::uint64_t>(INT64_MAX));
  if (!fits || found.get<std::int64_t>() < low || found.get<std::int64_t>() > high)
    refuse(field, rangeText(low, high));
  return found.get<std::int64_t>();
}

double JsonObject::seconds(char const* field) {
  return seconds(field, latestTime, "is not a number of seconds from 0 to 253402300799");
}

double JsonObject::generation(char const* field) {
  return seconds(field, latestGeneration, "is not a number of seconds from 0 to 1000000000000");
}

double JsonObject::seconds(char const* field, double latest, char const* range) {
  json const& found = value(field);
  double const number = found.is_number() ? found.get<double>() : -1.0;
  if (!(number >= 0.0 && number <= latest)) refuse(field, range);
  return number;
}

json const& JsonObject::array(char const* field) {
  json const& found = value(field);
  if (!found.is_array()) refuse(field, "is not a list");
  return found;
}

JsonObject JsonObject::object(char const* field) {
  json const& found = value(field);
  return JsonObject(found, placeOf(field));
}

std::vector<std::string> JsonObject::names() const {
  std::vector<std::string> names;
  for (auto const& [name, member] : value_.items()) names.push_back(name);
  return names;
}

std::string JsonObject::placeOf(std::string_view field) const {
  return (place_.empty() ? std::string() : place_ + '.').append(field);
}

void JsonObject::refuse(std::string_view field, std::string reason) const {
  throw JsonError(placeOf(field), std::move(reason));
}

void JsonObject::finish() const {
  for (auto const& [name, member] : value_.items())
    if (std::ranges::find(asked_, name) == asked_.end())
      refuse(name, "is not a field of this file");
}

std::int64_t integerOf(std::string_view text, std::int64_t low, std::int64_t high,
                       std::string const& place) {
  std::int64_t number = 0;
  auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  bool const whole = error == std::errc() && end == text.data() + text.size();
  if (!whole || number < low || number > high || std::to_string(number) != text)
    throw JsonError(place, rangeText(low, high));
  return number;
}

}  // namespace Oru::Mount
