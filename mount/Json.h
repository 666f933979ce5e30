#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "mount/JsonError.h"

namespace Oru::Mount {

// The value that a text stands for. Raises JsonError when the text is not JSON, ends early, nests
// deeper than 32, or gives a field of an object twice.
nlohmann::json parsedJson(std::string_view text);

// The end of the year 9999, in seconds since the epoch: no point in time that others give is later.
inline constexpr double latestTime = 253402300799.0;
// No generation is later: those that are made from such points in time are above them.
inline constexpr double latestGeneration = 1e12;

// Reads the fields of a JSON object strictly: each accessor raises JsonError for a field that is
// missing or of the wrong type or range, and finish() for a field that was not asked for. Refers to
// the value, which must outlive it.
class JsonObject {
 public:
  // Raises JsonError when the value is no object.
  explicit JsonObject(nlohmann::json const& value, std::string place = {});

  bool has(char const* field) const;
  bool boolean(char const* field);
  std::string const& string(char const* field);
  // A whole number from `low` to `high`.
  std::int64_t integer(char const* field, std::int64_t low, std::int64_t high);
  // A point in time: a number of seconds from 0 to latestTime.
  double seconds(char const* field);
  // The same to latestGeneration: a generation that a hosting agent made, or that repeats one.
  double generation(char const* field);
  nlohmann::json const& array(char const* field);
  nlohmann::json const& value(char const* field);
  JsonObject object(char const* field);

  // Every field is a member of a collection: asks for all. The names, in order; read them with the
  // accessors above.
  std::vector<std::string> names() const;
  // A member's name that is a whole number, as integerOf() reads it.
  std::int64_t integerName(std::string_view name, std::int64_t low, std::int64_t high) const;
  // The place of a field.
  std::string placeOf(std::string_view field) const;
  [[noreturn]] void refuse(std::string_view field, std::string reason) const;
  // Raises JsonError for a field that none of the accessors was asked for.
  void finish() const;

 private:
  double seconds(char const* field, double latest, char const* range);

  nlohmann::json const& value_;
  std::string place_;
  std::vector<std::string_view> asked_;
};

// A whole number in canonical decimal form ("7", not "07" or "+7") from `low` to `high`; raises
// JsonError for `place`.
std::int64_t integerOf(std::string_view text, std::int64_t low, std::int64_t high,
                       std::string const& place);

}  // namespace Oru::Mount
