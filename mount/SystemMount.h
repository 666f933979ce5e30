#pragma once

#include <array>
#include <bitset>
#include <map>
#include <string>

#include "mount/NodeWatch.h"
#include "mount/OutputMount.h"
#include "state/SystemStatus.h"

namespace Oru::Mount {

// SystemStatus -> system/chips/<device id>.json, system/slices/<slice>.json and
// system/interfaces/<device id>.json: the chip ports of all interfaces, by chip.
class SystemMount {
 public:
  SystemMount(MountContext const& context, Vunda::Ptr<Central::SystemStatus> const& systemStatus);

  void read();
  void follow();

 private:
  using Load = void (SystemMount::*)(std::string const& name, std::string const& text);

  // One of the three directories.
  class Part final : public OutputMount {
   public:
    Part(SystemMount& owner, MountContext const& context, std::string const& directory,
         Load loadText)
        : OutputMount(context, {"system", directory}, TreeReader::Shape::values),
          owner_(owner),
          load_(loadText) {}

   private:
    void load(TreePath const& value, std::string const& text) override {
      (owner_.*load_)(value.leaf(), text);
    }

    SystemMount& owner_;
    Load const load_;
  };

  void loadChip(std::string const& name, std::string const& text);
  void loadSlice(std::string const& name, std::string const& text);
  void loadInterfaces(std::string const& name, std::string const& text);

  void changed(Vunda::FieldId field, void const* key);
  void chipChanged(Central::DeviceId id);
  void sliceChanged(Vunda::String const& slice);
  void interfaceChanged(Lanko::IntfId intf);
  void interfacesChanged(Central::DeviceId id);
  std::string interfacesText(Central::DeviceId id) const;

  TreeWriter& writer_;
  Vunda::Ptr<Central::SystemStatus> const systemStatus_;
  Part chips_;
  Part slices_;
  Part interfaces_;
  std::map<Lanko::IntfId, Central::DeviceId> deviceOf_;
  std::array<std::map<Lanko::IntfId, Central::PortId>, Central::DeviceId::null + 1> portsOf_;
  // Of which chips the writer is to make the text of the interfaces.
  std::bitset<Central::DeviceId::null + 1> wished_;
  Vunda::Ptr<NodeWatch> watch_;
};

}  // namespace Oru::Mount
