#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "launcher/AgentId.h"
#include "launcher/AgentStatus.h"
#include "mount/Codec.h"
#include "tools/Text.h"
#include "tools/TreeScan.h"

namespace Oru::Tools {

// What the files of a tree say, each understood by the codec that all programs share. A file that
// is not as it must be is left out and stands in `unreadable`; everything else is there.
struct TreeData {
  template <class T>
  using ByName = std::map<std::string, T, NaturalOrder>;
  // Requester and name of the request.
  using ResetId = std::pair<std::string, std::string>;

  ByName<Mount::Codec::SliceHwData> hwConfig;
  ByName<double> hwStatus;
  ByName<ByName<Mount::Codec::ChipConfigData>> config;
  ByName<ByName<Mount::Codec::ChipStatusData>> status;  // a slice is here when its directory is
  std::map<unsigned, Central::ChipInfo> chips;          // published, by device id
  std::map<unsigned, std::map<std::string, Central::PortId>> interfaces;
  ByName<bool> features;
  std::map<ResetId, Mount::Codec::ResetData> requests, answers;
  std::map<Launcher::AgentId, double> entries;  // the restart number, 0: none
  std::map<Launcher::AgentId, Launcher::AgentStatus> agents;
  ByName<Mount::ProblemReport> problems;  // by the program that has them
  std::vector<Problem> unreadable;

  explicit TreeData(TreeScan const& scan);

  // The chip's configuration; null when there is none.
  Mount::Codec::ChipConfigData const* configOf(std::string const& slice,
                                               std::string const& chip) const;
  // The published chip of that slice and name; null when it is not published.
  Central::ChipInfo const* publishedOf(std::string const& slice, std::string const& chip) const;
  Launcher::AgentStatus const* agentOf(Launcher::AgentKind kind, std::string const& name) const;
  // Whether a file stands there that is not as it must be.
  bool isUnreadable(Mount::TreePath const& value) const;

 private:
  void take(Area area, Mount::TreePath const& path, std::string const& text);
};

// The agent that a place in launcher/ or launcher-status/ is about. Raises Mount::JsonError.
Launcher::AgentId agentIdOf(Mount::TreePath const& path);

std::string textOf(Vunda::String const& text);

}  // namespace Oru::Tools
