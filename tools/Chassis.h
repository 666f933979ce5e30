#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/TreeData.h"

namespace Oru::Tools {

// The device as an operator thinks of it, put together from the tree's files. What it points to is
// the data that it was made from.

enum class SliceState {
  empty,     // its configuration says that no board is there (yet)
  waiting,   // no slice agent has reported
  starting,  // not every chip is up
  up,
  leaving,     // pulled, and not yet cleared away
  unreadable,  // its configuration is not as it must be; the last good one is in force
};
enum class ChipState {
  waiting,   // not yet told to run
  starting,  // told to run a generation that its agent has not reached, or that is not published
  up,
  stopped,  // told not to run
  leaving,  // its slice does not have it any more
};
enum class ResetState {
  idle,  // its time is 0
  pending,
  answered,
  withdrawn,  // answered, and the request is gone
};

struct ChipRow {
  std::string slice, name;
  std::optional<unsigned> deviceId;
  ChipState state = ChipState::waiting;
  double configured = 0, reported = 0;  // generations
  std::size_t interfaces = 0;           // that its agent reports
  Launcher::AgentStatus const* agent = nullptr;
};
struct SliceRow {
  std::string name;
  SliceState state = SliceState::waiting;
  std::size_t chips = 0, chipsUp = 0;
  double configured = 0, takenOver = 0;  // generations
  Launcher::AgentStatus const* agent = nullptr;
};
struct InterfaceRow {
  std::string name, slice, chip;
  std::optional<unsigned> deviceId, port;
  bool up = false;  // its chip is published with it
};
struct FeatureRow {
  std::string name;
  bool enabled = false;
  Launcher::AgentStatus const* agent = nullptr;
};
struct ResetRow {
  std::string requester;
  ResetState state = ResetState::pending;
  Mount::Codec::ResetData const* data = nullptr;
};
struct AgentRow {
  Launcher::AgentId id;
  bool wanted = false;           // has a launcher entry
  bool entryUnreadable = false;  // and that is not as it must be
  Launcher::AgentStatus const* status = nullptr;
};
struct ProblemRow {
  std::string program;
  Problem problem;
};

std::vector<SliceRow> slicesOf(TreeData const& data);
std::vector<ChipRow> chipsOf(TreeData const& data);
std::vector<InterfaceRow> interfacesOf(TreeData const& data);
std::vector<FeatureRow> featuresOf(TreeData const& data);
std::vector<ResetRow> resetsOf(TreeData const& data);
std::vector<AgentRow> agentsOf(TreeData const& data);
// What the programs have written down, and then what oructl itself cannot read and none of them
// tells.
std::vector<ProblemRow> problemsOf(TreeData const& data);
// How many problems more the programs have than they have written down: those of whom there are any.
TreeData::ByName<std::size_t> moreProblemsOf(TreeData const& data);
// All of them, the written ones and those.
std::size_t problemCount(TreeData const& data);

char const* wordOf(SliceState state);
char const* wordOf(ChipState state);
char const* wordOf(ResetState state);
// Of its process: "running", ..., or "none" when the launcher says nothing of it.
std::string wordOf(Launcher::AgentStatus const* agent);

// What a reset is about: "chip Slice1/Chip1", "slice Slice1", "all slices", "the feature agents".
std::string textOf(Central::ResetKey const& key);

}  // namespace Oru::Tools
