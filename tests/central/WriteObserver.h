#pragma once

#include <map>
#include <memory>
#include <string>

#include "runtime/kesh/Dir.h"
#include "state/ResetStatusDir.h"
#include "state/SystemStatus.h"
#include "tests/central/Journal.h"
#include "tests/support/CallbackSlot.h"

namespace OruTest {

// Notes in the journal every write to what it observes: directories with all that is in them, the
// system status, status directories with their records. It keeps what it observes alive.
class WriteObserver {
 public:
  // `journal` outlives the observer.
  explicit WriteObserver(Journal& journal) : journal_(journal) {}

  void observe(Vunda::Ptr<Kesh::Dir> const& dir);
  void observe(Vunda::Ptr<Oru::Central::SystemStatus> const& systemStatus);
  // Observes nothing any more.
  void stop() { observed_.clear(); }

 private:
  using Change = CallbackSlot::Change;
  struct Observed {
    Vunda::Ptr<Vunda::Node const> node;
    std::unique_ptr<CallbackSlot> slot;
  };

  void observe(std::string const& path, Vunda::Ptr<Vunda::Node const> const& node);
  void forget(std::string const& path);
  void entered(std::string const& path, Kesh::Dir const& dir, Vunda::String const& name);
  void changed(std::string const& path, Vunda::Node const& node, Change const& change);
  void recordChanged(std::string const& path, Oru::Central::ResetStatusDir const& dir,
                     Oru::Central::ResetKey const& key);
  void systemStatusChanged(Oru::Central::SystemStatus const& status, Change const& change);

  Journal& journal_;
  std::map<std::string, Observed> observed_;
};

}  // namespace OruTest
