#pragma once

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "launcher/AgentId.h"
#include "launcher/Clock.h"
#include "launcher/ProcessTable.h"
#include "mount/Backend.h"
#include "mount/ProblemList.h"
#include "mount/RetryDelay.h"

namespace Oru::Launcher {

// Tells the table which launcher entries there are, from launcher/<kind>/<name> of the state tree.
//
//   bad entries      are reported as problems, and so is what stands in launcher/ and is no
//                    directory of a kind; an agent whose entry turns bad goes on as it is, and one
//                    that an earlier launcher has left keeps the entry that was recorded
//   errors           that may pass without a word are looked at again, with back-off
//   no directory     says nothing: nobody has written entries, or the tree is away. The agents go
//                    on. When the directory is there again, its writer gets `settlingTime` to put
//                    its entries back before those that are missing end their agents
class EntryWatch final : private Mount::Backend::Observer {
 public:
  static constexpr double settlingTime = 2;  // seconds

  // The references must outlive this.
  EntryWatch(Mount::Backend& backend, Mount::ProblemList& problems, Clock& clock,
             ProcessTable& table);

  // Tells what is there now and, from the event loop, what changes.
  void start();

 private:
  // What is to be known of the directory of one kind.
  struct Directory {
    bool settling = false;           // missing entries end no agents
    std::unique_ptr<Timer> settled;  // runs while the directory is there
    std::set<std::string> badFiles;  // with a problem of their own
  };
  using Listing = Mount::Backend::Listing;

  void changed(std::vector<Mount::Backend::Change> const& changes) override;
  void rootLost(std::string const& reason) override;
  void rootBack() override;
  void wordLost() override { problems_.wordLost(); }
  void watchLost(Mount::TreePath const& path, std::string const& reason) override;
  void watchBack(Mount::TreePath const& path) override;

  void lookAtAll();
  // What does not belong into launcher/.
  void lookAtRoot();
  void lookAt(AgentKind kind);
  // After an error that no watch tells the end of.
  void lookAgainLater();
  void apply(AgentKind kind, Listing const& listing);
  void reportStrays(AgentKind kind, Listing const& listing);
  // Returns false when the entry is not there.
  bool lookAt(AgentId const& id);
  void refused(AgentId const& id, std::string const& place, std::string const& reason);
  void agentsOfMissingEntriesEnd(AgentKind kind, Listing const& listing);
  // The directory, or all of them, may be new.
  void settle(AgentKind kind);
  void settleAll();
  void settleLater(AgentKind kind);
  void bad(AgentKind kind, std::string const& file, std::string const& place,
           std::string const& reason);
  void good(AgentKind kind, std::string const& file);

  Mount::Backend& backend_;
  Mount::ProblemList& problems_;
  Clock& clock_;
  ProcessTable& table_;
  std::map<AgentKind, Directory> directories_;
  std::set<std::string> strays_;  // in launcher/
  std::unique_ptr<Timer> again_;
  Mount::RetryDelay againDelay_;
  std::unique_ptr<Mount::Backend::Watch> watch_;
};

}  // namespace Oru::Launcher
