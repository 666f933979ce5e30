#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>

#include "mount/DirWatch.h"
#include "mount/OutputMount.h"
#include "state/ChipConfig.h"

namespace Oru::Mount {

// Kesh::Dir and ChipConfig in `configDir` -> config/<slice>/<chip>.json.
class ConfigMount final : public OutputMount {
 public:
  using Changed = std::function<void(std::string const& slice, std::string const& chip)>;

  ConfigMount(MountContext const& context, Vunda::Ptr<Kesh::Dir> const& configDir);

  // `changed` is called for every change of a chip's configuration.
  void follow(Changed changed);

 private:
  struct Slice {
    std::map<std::string, Vunda::Ptr<NodeWatch>> chips;
    std::unique_ptr<DirWatch> watch;
  };

  void load(TreePath const& value, std::string const& text) override;
  void loadDirectory(TreePath const& directory) override;
  void sliceAdded(std::string const& name, Vunda::Ptr<Kesh::Dir> const& dir);
  void chipAdded(TreePath const& value, Vunda::Ptr<Central::ChipConfig> const& config);

  Vunda::Ptr<Kesh::Dir> const configDir_;
  Changed changed_;
  std::map<std::string, Slice> slices_;
  std::unique_ptr<DirWatch> watch_;
};

}  // namespace Oru::Mount
