#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>

#include "launcher/AgentId.h"
#include "launcher/AgentProcess.h"
#include "launcher/AgentStatus.h"

namespace Oru::Launcher {

// All agents of one launcher.
class ProcessTable : private AgentProcess::Observer {
 public:
  // How many agents are in which state.
  struct Counts {
    std::size_t running = 0;
    std::size_t stopping = 0;
    std::size_t backoff = 0;
    std::size_t failed = 0;

    friend bool operator==(Counts const&, Counts const&) = default;
  };

  // Hears of every change as it happens: once more there is something in changedAgents(). `event`
  // is for the log.
  using OnChange = std::function<void(AgentId const& id, std::string const& event)>;

  // The references must outlive the table.
  ProcessTable(ProcessHost& processes, Clock& clock, CommandSource const& commands,
               OnChange onChange);

  // The first four are explained at AgentProcess. Agents that were restored or adopted and have no
  // entry go on until entryDel().
  void restore(AgentId const& id, AgentStatus const& record);
  void adopt(AgentId const& id, ProcessIdentity const& identity, std::uint64_t startNumber);
  void entryIs(AgentId const& id, std::optional<double> restart);
  // Of an agent that has neither entry nor process: nothing.
  void entryRefused(AgentId const& id);
  void entryDel(AgentId const& id);
  // As if every entry were gone, because the launcher ends.
  void entryDelAll();
  // Agents that wait for their next start are started now.
  void retry();

  // Null when the agent has neither entry nor process.
  AgentStatus const* status(AgentId const& id) const;
  // The agents of one kind, with or without entry.
  std::set<std::string> names(AgentKind kind) const;
  bool empty() const;
  Counts counts() const;

  // Frees what is kept of an agent that has neither entry nor process.
  void forgetIfGone(AgentId const& id);

 private:
  void changed(AgentProcess const& process, std::string const& event) override;
  AgentProcess& agent(AgentId const& id);

  AgentProcess::Surroundings const around_;
  OnChange const onChange_;
  std::map<AgentId, AgentProcess> agents_;
};

}  // namespace Oru::Launcher
