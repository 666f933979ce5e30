#pragma once

#include <functional>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

#include "sim/AgentName.h"
#include "sim/Program.h"
#include "sim/Scenario.h"
#include "sim/TreePicture.h"

namespace Oru::Sim {

// What the tree's files mean, and what is compared with an earlier moment.
class Situation {
 public:
  // Of "oru-agent" and "oru-launcher".
  using Programs = std::map<std::string, Program const*>;

  // All must outlive this.
  Situation(TreePicture const& tree, Programs programs)
      : tree_(tree), programs_(std::move(programs)) {}

  TreePicture const& tree() const { return tree_; }

  // Names of chips that are published, and that are on inserted slices.
  std::set<std::string> publishedChips() const;
  std::set<std::string> insertedChips() const;
  std::size_t publishedInterfaces() const;
  // The chip's configuration in the slice where it was configured last; null when there is none.
  nlohmann::json const& config(std::string const& chip) const;
  // In which slice that is; empty when there is none.
  std::string sliceOfConfig(std::string const& chip) const;

  // Its file in launcher-status/; null when there is none.
  nlohmann::json const& agent(AgentName const& name) const;
  std::string agentState(AgentName const& name) const;
  std::set<AgentName> agents() const;
  // Which process runs; null: none.
  nlohmann::json process(AgentName const& name) const;

  Program const& program(std::string const& name) const { return *programs_.at(name); }

  // For later comparison: all processes and all chips' generations.
  void remember();
  std::map<AgentName, nlohmann::json> const& rememberedProcesses() const { return processes_; }
  nlohmann::json const& rememberedGeneration(std::string const& chip) const;

  // The requests that were made, by what they were for.
  struct Request {
    Mount::TreePath status;
    double genTime = 0;
  };
  void requested(ResetTarget const& target, Request request) {
    requests_[target] = std::move(request);
  }
  Request const* request(ResetTarget const& target) const;

 private:
  TreePicture const& tree_;
  Programs const programs_;
  std::map<AgentName, nlohmann::json> processes_;
  std::map<std::string, nlohmann::json> generations_;
  std::map<ResetTarget, Request> requests_;
};

}  // namespace Oru::Sim
