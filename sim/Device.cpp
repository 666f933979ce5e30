#include "sim/Device.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <system_error>

#include "mount/Json.h"
#include "sim/NumberedText.h"

namespace Oru::Sim {

namespace {

using Mount::JsonError;
using Mount::JsonObject;
using nlohmann::json;

constexpr unsigned highestId = 63;

std::string placeOf(JsonObject const& object, char const* list, std::size_t index) {
  return object.placeOf(list) + '[' + std::to_string(index) + ']';
}

// Calls `function`; what it finds wrong with a text is wrong with the field.
template <class Function>
auto checked(JsonObject const& object, char const* field, Function const& function) {
  try {
    return function();
  } catch (std::invalid_argument const& error) {
    object.refuse(field, error.what());
  }
}

// Builds a device, slice by slice; remembers what must not be given twice.
class Reader {
 public:
  explicit Reader(Device& device) : device_(device) {}

  void read(JsonObject& root) {
    if (root.has("name")) device_.name = root.string("name");
    if (root.has("agents")) readAgents(root.object("agents"));
    json const& slices = root.array("slices");
    for (std::size_t i = 0; i < slices.size(); ++i) {
      readSlices(JsonObject(slices[i], placeOf(root, "slices", i)));
    }
    if (root.has("features")) readFeatures(root.object("features"));
    if (root.has("launcher")) device_.launcher = root.value("launcher");
    root.finish();
  }

 private:
  void readAgents(JsonObject object) {
    device_.agents = behaviourOf(object, {});
    object.finish();
  }

  void readFeatures(JsonObject object) {
    for (std::string const& name : object.names()) {
      if (name.empty()) object.refuse(name, "is not a name");
      device_.features[name] = object.boolean(name.c_str());
    }
  }

  // One entry of "slices": as many slices as it has numbers.
  void readSlices(JsonObject object) {
    if (!object.has("numbers")) return readSlice(object, {});
    for (unsigned const number : numbers(object)) readSlice(object, {{"slice", number}});
  }

  std::vector<unsigned> numbers(JsonObject& object) {
    std::string const& text = object.string("numbers");
    return checked(object, "numbers", [&] { return numbersOf(text); });
  }

  void readSlice(JsonObject object, Placeholders const& numbers) {
    Device::Slice slice;
    slice.name = uniqueName(object, numbers, sliceNames_, "slice");
    if (object.has("present")) slice.present = object.boolean("present");
    slice.agent = agentOf(object, "agent");
    json const& chips = object.array("chips");
    for (std::size_t i = 0; i < chips.size(); ++i) {
      readChips(JsonObject(chips[i], placeOf(object, "chips", i)), numbers, slice);
    }
    object.finish();
    device_.slices.push_back(std::move(slice));
  }

  void readChips(JsonObject object, Placeholders const& sliceNumber, Device::Slice& slice) {
    if (object.has("deviceId") && sliceNumber.empty()) {
      nextId_ = static_cast<unsigned>(object.integer("deviceId", 0, highestId));
    } else if (object.has("deviceId")) {
      object.refuse("deviceId",
                    "stands in a slice with numbers, whose chips count on by themselves");
    }
    if (!object.has("numbers")) return readChip(object, sliceNumber, slice);
    for (unsigned const number : numbers(object)) {
      Placeholders both = sliceNumber;
      both["chip"] = number;
      readChip(object, both, slice);
    }
  }

  void readChip(JsonObject object, Placeholders const& numbers, Device::Slice& slice) {
    Device::Chip chip;
    chip.name = uniqueName(object, numbers, chipNames_, "chip");
    chip.deviceId = nextId_++;
    if (chip.deviceId > highestId) object.refuse("name", "is one chip too many: ids end at 63");
    if (!ids_.insert(chip.deviceId).second) {
      object.refuse("name",
                    "would have the id " + std::to_string(chip.deviceId) + " of another chip");
    }
    if (object.has("ports")) readPorts(object.object("ports"), numbers, chip);
    chip.agent = agentOf(object, "agent");
    object.finish();
    slice.chips.push_back(std::move(chip));
  }

  void readPorts(JsonObject object, Placeholders const& numbers, Device::Chip& chip) {
    for (std::string const& ports : object.names()) {
      std::string const& text = object.string(ports.c_str());
      for (unsigned const port : checked(object, ports.c_str(), [&] { return numbersOf(ports); })) {
        Placeholders all = numbers;
        all["port"] = port;
        auto name = checked(object, ports.c_str(), [&] { return expanded(text, all); });
        if (!chip.ports.emplace(port, name).second) {
          object.refuse(ports, "gives port " + std::to_string(port) + " once more");
        }
        if (name.empty() || !interfaces_.insert(name).second) {
          object.refuse(ports, "gives the interface \"" + name + "\" once more");
        }
      }
    }
  }

  std::string uniqueName(JsonObject& object, Placeholders const& numbers,
                         std::set<std::string>& taken, std::string const& what) {
    std::string const& text = object.string("name");
    auto name = checked(object, "name", [&] { return expanded(text, numbers); });
    if (name.empty()) object.refuse("name", "is empty");
    if (!taken.insert(name).second)
      object.refuse("name", "names the " + what + ' ' + name + " again");
    return name;
  }

  AgentBehaviour agentOf(JsonObject& object, char const* field) {
    if (!object.has(field)) return device_.agents;
    JsonObject agent = object.object(field);
    AgentBehaviour const behaviour = behaviourOf(agent, device_.agents);
    agent.finish();
    return behaviour;
  }

  Device& device_;
  std::set<std::string> sliceNames_, chipNames_, interfaces_;
  std::set<unsigned> ids_;
  unsigned nextId_ = 0;
};

void replaceHere(json& value, std::string const& folder) {
  if (value.is_structured()) {
    for (auto& member : value) replaceHere(member, folder);
  } else if (value.is_string()) {
    value = replaced(value.get<std::string>(), "{here}", folder);
  }
}

}  // namespace

Device Device::parse(std::string_view text, std::string const& file) {
  Device device;
  try {
    json const parsed = Mount::parsedJson(text);
    JsonObject root(parsed);
    Reader(device).read(root);
  } catch (JsonError const& error) {
    throw DescriptionError(file + ": " + error.what());
  }
  replaceHere(device.launcher, withDoubledBraces(folderOf(file)));
  return device;
}

std::string folderOf(std::string const& file) {
  return std::filesystem::absolute(file).lexically_normal().parent_path().string();
}

Device::Slice const* Device::slice(std::string_view sliceName) const {
  for (Slice const& slice : slices) {
    if (slice.name == sliceName) return &slice;
  }
  return nullptr;
}

Device::Slice const* Device::sliceOf(std::string_view chipName) const {
  for (Slice const& slice : slices) {
    for (Chip const& chip : slice.chips) {
      if (chip.name == chipName) return &slice;
    }
  }
  return nullptr;
}

Device::Chip const* Device::chip(std::string_view chipName) const {
  for (Slice const& slice : slices) {
    for (Chip const& chip : slice.chips) {
      if (chip.name == chipName) return &chip;
    }
  }
  return nullptr;
}

std::size_t Device::chipCount() const {
  std::size_t count = 0;
  for (Slice const& slice : slices) count += slice.chips.size();
  return count;
}

std::size_t Device::portCount() const {
  std::size_t count = 0;
  for (Slice const& slice : slices) {
    for (Chip const& chip : slice.chips) count += chip.ports.size();
  }
  return count;
}

std::string hwConfigOf(Device::Slice const& slice, double genTime) {
  json chips = json::object();
  for (Device::Chip const& chip : slice.chips) {
    json ports = json::object();
    for (auto const& [port, name] : chip.ports) ports[std::to_string(port)] = name;
    chips[chip.name] = {{"deviceId", chip.deviceId}, {"ports", std::move(ports)}};
  }
  return json{{"genTime", genTime}, {"chips", std::move(chips)}}.dump() + '\n';
}

std::string textOfFile(std::string const& file) {
  std::ifstream stream(file, std::ios::binary);
  try {
    if (!stream.is_open()) throw std::ios_base::failure("open");
    return {std::istreambuf_iterator<char>(stream), {}};
  } catch (std::ios_base::failure const&) {  // of a directory, too
    throw DescriptionError(file + ": cannot be read: " + std::generic_category().message(errno));
  }
}

}  // namespace Oru::Sim
