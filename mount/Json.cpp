#include "mount/Json.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <utility>

namespace Oru::Mount {

namespace {

using nlohmann::json;

constexpr std::size_t depthLimit = 32;

std::string lineAndColumn(std::string_view text, std::size_t byte) {
  auto const before = text.substr(0, std::min(byte ? byte - 1 : 0, text.size()));
  auto const line = std::count(before.begin(), before.end(), '\n') + 1;
  auto const column = before.size() - (before.rfind('\n') + 1) + 1;
  return "line " + std::to_string(line) + ", column " + std::to_string(column);
}

// Builds the value from what the parser finds in a text, and refuses what the parser itself lets
// through.
class Builder final : public nlohmann::json_sax<json> {
 public:
  explicit Builder(std::string_view text) : text_(text) {}

  json take() { return std::move(whole_); }

  bool null() override { return add(nullptr); }
  bool boolean(bool value) override { return add(value); }
  bool number_integer(json::number_integer_t value) override { return add(value); }
  bool number_unsigned(json::number_unsigned_t value) override { return add(value); }
  bool number_float(json::number_float_t value, std::string const&) override { return add(value); }
  bool string(std::string& value) override { return add(std::move(value)); }
  bool binary(json::binary_t&) override { return false; }  // no text holds any

  bool start_object(std::size_t) override { return open(json::object()); }
  bool end_object() override { return close(); }
  bool start_array(std::size_t) override { return open(json::array()); }
  bool end_array() override { return close(); }
  bool key(std::string& name) override {
    auto const [field, isNew] =
        open_.back()->get_ref<json::object_t&>().try_emplace(std::move(name));
    if (!isNew) throw JsonError(field->first, "is given twice");
    field_ = &field->second;
    return true;
  }

  bool parse_error(std::size_t byte, std::string const&, json::exception const& error) override {
    bool const isSyntax = dynamic_cast<json::parse_error const*>(&error) != nullptr;
    throw JsonError(
        {}, "is not JSON: " + (isSyntax ? lineAndColumn(text_, byte) : "a number is out of range"));
  }

 private:
  // Where the next value belongs.
  json& place() {
    if (open_.empty()) return whole_;
    if (open_.back()->is_object()) return *field_;
    return open_.back()->emplace_back();
  }
  bool add(json value) {
    place() = std::move(value);
    return true;
  }
  bool open(json empty) {
    if (open_.size() == depthLimit)
      throw JsonError({}, "nests deeper than " + std::to_string(depthLimit));
    open_.push_back(&place());
    *open_.back() = std::move(empty);
    return true;
  }
  bool close() {
    open_.pop_back();
    return true;
  }

  std::string_view const text_;
  json whole_;
  // The objects and arrays around the next value, outermost first.
  std::vector<json*> open_;
  json* field_ = nullptr;  // of the innermost object
};

std::optional<std::int64_t> canonicalInteger(std::string_view text, std::int64_t low,
                                             std::int64_t high) {
  std::int64_t number = 0;
  auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  bool const whole = error == std::errc() && end == text.data() + text.size();
  if (!whole || number < low || number > high || std::to_string(number) != text) return {};
  return number;
}

// Names of fields are as long as somebody likes; log and problem file are not to be flooded. Leaves
// no character in halves.
std::string& shorten(std::string& place) {
  if (place.size() <= JsonError::longestPlace) return place;
  std::size_t size = JsonError::longestPlace;
  while (size > 0 && (static_cast<unsigned char>(place[size]) & 0xC0U) == 0x80U) --size;
  place.resize(size);
  return place += "...";
}

std::string rangeText(std::int64_t low, std::int64_t high) {
  return "is not a whole number from " + std::to_string(low) + " to " + std::to_string(high);
}

}  // namespace

JsonError::JsonError(std::string place, std::string reason)
    : std::runtime_error(shorten(place).empty() ? reason : place + ' ' + reason),
      place_(std::move(place)),
      reason_(std::move(reason)) {}

json parsedJson(std::string_view text) {
  if (text.empty()) throw JsonError({}, "is empty");
  Builder builder(text);
  static_cast<void>(json::sax_parse(text, &builder));
  return builder.take();
}

JsonObject::JsonObject(json const& value, std::string place)
    : value_(value), place_(std::move(place)) {
  if (!value_.is_object()) throw JsonError(place_, "is not an object");
}

bool JsonObject::has(char const* field) const { return value_.contains(field); }

json const& JsonObject::value(char const* field) {
  auto const at = value_.find(field);
  if (at == value_.end()) refuse(field, "is missing");
  asked_.push_back(at.key());
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

std::int64_t JsonObject::integerName(std::string_view name, std::int64_t low,
                                     std::int64_t high) const {
  auto const number = canonicalInteger(name, low, high);
  if (!number) refuse(name, rangeText(low, high));
  return *number;
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
  auto const number = canonicalInteger(text, low, high);
  if (!number) throw JsonError(place, rangeText(low, high));
  return *number;
}

}  // namespace Oru::Mount
