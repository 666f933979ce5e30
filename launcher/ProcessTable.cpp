#include "launcher/ProcessTable.h"

#include <algorithm>
#include <utility>

namespace Oru::Launcher {

ProcessTable::ProcessTable(ProcessHost& processes, Clock& clock, CommandSource const& commands,
                           OnChange onChange)
    : around_{processes, clock, commands, *this}, onChange_(std::move(onChange)) {}

void ProcessTable::restore(AgentId const& id, AgentStatus const& record) {
  agent(id).restore(record);
}

void ProcessTable::adopt(AgentId const& id, ProcessIdentity const& identity,
                         std::uint64_t startNumber) {
  agent(id).adopt(identity, startNumber);
}

void ProcessTable::entryIs(AgentId const& id, std::optional<double> restart) {
  auto const at = agents_.find(id);
  // What is gone has no past for a new entry.
  if (at != agents_.end() && at->second.isGone()) agents_.erase(at);
  agent(id).entryIs(restart);
}

void ProcessTable::entryRefused(AgentId const& id) {
  auto const at = agents_.find(id);
  if (at != agents_.end() && !at->second.isGone()) at->second.entryRefused();
}

void ProcessTable::entryDel(AgentId const& id) {
  auto const at = agents_.find(id);
  if (at != agents_.end()) at->second.entryDel();
}

void ProcessTable::entryDelAll() {
  for (auto& [id, process] : agents_) process.entryDel("the launcher ends");
}

void ProcessTable::retry() {
  for (auto& [id, process] : agents_) process.retry();
}

AgentStatus const* ProcessTable::status(AgentId const& id) const {
  auto const at = agents_.find(id);
  return at == agents_.end() || at->second.isGone() ? nullptr : &at->second.status();
}

std::set<std::string> ProcessTable::names(AgentKind kind) const {
  std::set<std::string> names;
  for (auto const& [id, process] : agents_) {
    if (id.kind == kind && !process.isGone()) names.insert(id.name);
  }
  return names;
}

bool ProcessTable::empty() const {
  return std::all_of(agents_.begin(), agents_.end(),
                     [](auto const& member) { return member.second.isGone(); });
}

ProcessTable::Counts ProcessTable::counts() const {
  Counts counts;
  for (auto const& [id, process] : agents_) {
    switch (process.status().state) {
      case AgentState::gone:
        break;
      case AgentState::running:
        ++counts.running;
        break;
      case AgentState::stopping:
        ++counts.stopping;
        break;
      case AgentState::backoff:
        ++counts.backoff;
        break;
      case AgentState::failed:
        ++counts.failed;
        break;
    }
  }
  return counts;
}

void ProcessTable::forgetIfGone(AgentId const& id) {
  if (auto const at = agents_.find(id); at != agents_.end() && at->second.isGone()) {
    agents_.erase(at);
  }
}

void ProcessTable::changed(AgentProcess const& process, std::string const& event) {
  onChange_(process.id(), event);
}

AgentProcess& ProcessTable::agent(AgentId const& id) {
  return agents_.try_emplace(id, id, around_).first->second;
}

}  // namespace Oru::Launcher
