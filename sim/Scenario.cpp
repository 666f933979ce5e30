#include "sim/Scenario.h"

#include "mount/Json.h"
#include "sim/NumberedText.h"
#include "sim/StepReader.h"

namespace Oru::Sim {

namespace {

using Mount::JsonError;
using Mount::JsonObject;
using nlohmann::json;

Step readStep(StepReader const& reader, json const& value, std::string place) {
  JsonObject object(value, place);
  Step step{std::move(place), {}, reader.action(object)};
  object.finish();
  step.text = StepReader::text(value);
  return step;
}

void placeRuns(std::vector<Step>& steps, std::string const& folder) {
  for (Step& step : steps) {
    auto* const run = std::get_if<Step::Run>(&step.action);
    if (run == nullptr) continue;
    for (std::string& argument : run->argv) argument = replaced(argument, "{here}", folder);
  }
}

}  // namespace

std::string ResetTarget::text() const {
  switch (type) {
    case Type::chip:
      return "chip " + chip;
    case Type::slice:
      return "slice " + slice;
    case Type::all:
      return "all slices";
    case Type::features:
      break;
  }
  return "feature agents";
}

Scenario Scenario::parse(std::string_view text, std::string const& file, Device const* device) {
  Scenario scenario;
  scenario.file = file;
  try {
    json const parsed = Mount::parsedJson(text);
    JsonObject root(parsed);
    if (root.has("name")) scenario.name = root.string("name");
    StepReader const reader(device);
    json const& steps = root.array("steps");
    for (std::size_t i = 0; i < steps.size(); ++i) {
      scenario.steps.push_back(readStep(reader, steps[i], "steps[" + std::to_string(i) + ']'));
    }
    root.finish();
    placeRuns(scenario.steps, folderOf(file));
  } catch (JsonError const& error) {
    throw DescriptionError(file + ": " + error.what());
  }
  return scenario;
}

}  // namespace Oru::Sim
