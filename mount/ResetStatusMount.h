#pragma once

#include <map>
#include <memory>
#include <string>

#include "mount/DirWatch.h"
#include "mount/OutputMount.h"
#include "state/ResetStatusDir.h"

namespace Oru::Mount {

// ResetStatusDir and ResetEntry in `resetStatusDir` -> reset/status/<who>/<key>.json.
class ResetStatusMount final : public OutputMount {
 public:
  ResetStatusMount(MountContext const& context, Vunda::Ptr<Kesh::Dir> const& resetStatusDir);

  void follow();
  // The latest request of that type that was answered.
  Vunda::Duration lastAnswer(Central::ResetType type) const;

 private:
  struct Requester {
    std::map<std::string, Vunda::Ptr<NodeWatch>> records;
    Vunda::Ptr<NodeWatch> watch;
  };

  void load(TreePath const& value, std::string const& text) override;
  void loadDirectory(TreePath const& directory) override;
  void requesterAdded(std::string const& who, Vunda::Ptr<Central::ResetStatusDir> const& dir);
  void recordChanged(std::string const& who, Central::ResetStatusDir const& dir,
                     Central::ResetKey const& key);

  Vunda::Ptr<Kesh::Dir> const resetStatusDir_;
  std::map<std::string, Requester> requesters_;
  std::unique_ptr<DirWatch> watch_;
};

}  // namespace Oru::Mount
