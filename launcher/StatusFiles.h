#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "launcher/AgentId.h"
#include "launcher/AgentStatus.h"
#include "launcher/ProcessTable.h"
#include "mount/Backend.h"
#include "mount/WriteQueue.h"

namespace Oru::Launcher {

// Keeps launcher-status/<kind>/<name> of the state tree as the table has it: one file for each
// agent that has an entry or a process. What somebody else changes or removes there is put right.
class StatusFiles final : private Mount::Backend::Observer {
 public:
  // `onTreeChange` hears when the tree's folder may be another one than before. The references must
  // outlive this.
  StatusFiles(Mount::Backend& backend, Mount::WriteQueue& queue, ProcessTable& table,
              std::function<void()> onTreeChange);

  // What an earlier launcher has left. Files that cannot be read are none.
  std::map<AgentId, AgentStatus> records() const;
  // Begins to put right what is not as the table has it.
  void start();
  // The agent's status has changed: writes it at the end of the loop's turn.
  void tell(AgentId const& id);

 private:
  void changed(std::vector<Mount::Backend::Change> const& changes) override;

  std::vector<AgentId> filesThere() const;
  void putRight(AgentId const& id);
  void putAllRight();
  std::error_code write(AgentId const& id);

  Mount::Backend& backend_;
  Mount::WriteQueue& queue_;
  ProcessTable& table_;
  std::function<void()> const onTreeChange_;
  std::unique_ptr<Mount::Backend::Watch> watch_;
};

}  // namespace Oru::Launcher
