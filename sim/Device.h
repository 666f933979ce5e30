#pragma once

#include <map>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "sim/AgentBehaviour.h"

namespace Oru::Sim {

// A description is wrong; the text names the file, the place in it and the reason.
class DescriptionError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The simulated device, as its description says: docs/scenario-format.md explains the file. Names
// of slices, names of chips, device ids and interfaces are unique over the device.
struct Device {
  struct Chip {
    std::string name;
    unsigned deviceId = 0;                  // 0 to 63
    std::map<unsigned, std::string> ports;  // port number to name of the interface
    AgentBehaviour agent;
  };

  struct Slice {
    std::string name;
    bool present = true;  // at the start
    std::vector<Chip> chips;
    AgentBehaviour agent;
  };

  std::string name;
  std::vector<Slice> slices;
  std::map<std::string, bool> features;  // at the start
  AgentBehaviour agents;                 // of those that are not described otherwise
  nlohmann::json launcher;  // what differs in the launcher's configuration; null: nothing

  // `file` is for the texts of errors, and its folder is what {here} stands for. Raises
  // DescriptionError.
  static Device parse(std::string_view text, std::string const& file);

  Slice const* slice(std::string_view sliceName) const;
  // The slice that has a chip of that name.
  Slice const* sliceOf(std::string_view chipName) const;
  Chip const* chip(std::string_view chipName) const;
  std::size_t chipCount() const;
  std::size_t portCount() const;
};

// The text of a slice's file in hw/config/.
std::string hwConfigOf(Device::Slice const& slice, double genTime);

// The folder that a description stands in: what {here} stands for in it.
std::string folderOf(std::string const& file);

// The whole of a file; raises DescriptionError.
std::string textOfFile(std::string const& file);

}  // namespace Oru::Sim
