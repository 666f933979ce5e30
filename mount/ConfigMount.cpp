#include "mount/ConfigMount.h"

#include <utility>

#include "mount/Codec.h"
#include "mount/Names.h"
#include "runtime/kesh/System.h"

namespace Oru::Mount {

using Central::ChipConfig;
using Kesh::Dir;
using Vunda::Ptr;

ConfigMount::ConfigMount(MountContext const& context, Ptr<Dir> const& configDir)
    : OutputMount(context, {"config"}, TreeReader::Shape::directories), configDir_(configDir) {}

void ConfigMount::loadDirectory(TreePath const& directory) {
  configDir_->createEntity(Dir::typeName, entityName(directory.leaf()));
}

void ConfigMount::load(TreePath const& value, std::string const& text) {
  auto const data = Codec::chipConfigOf(text);
  Kesh::System::currentTimeFloorIs(data.genTime);
  Kesh::System::currentTimeFloorIs(data.syncGenTime);
  auto const config = Vunda::makeNode<ChipConfig>(entityName(value.leaf()));
  Codec::apply(data, *config);
  Vunda::ptrCast<Dir>(configDir_->entityPtr(entityName(value[1])))->entityIs(config);
}

void ConfigMount::follow(Changed changed) {
  changed_ = std::move(changed);
  watch_ = std::make_unique<DirWatch>(
      configDir_, DirWatch::Reactions{[this](auto const& slice, auto const& entity) {
                                        if (auto const dir = Vunda::ptrCast<Dir>(entity))
                                          sliceAdded(slice, dir);
                                      },
                                      [this](auto const& slice) {
                                        slices_.erase(slice);
                                        writer().directoryDel(base() / slice);
                                      }});
}

void ConfigMount::sliceAdded(std::string const& name, Ptr<Dir> const& dir) {
  Slice& slice = slices_[name];
  auto const directory = base() / name;
  writer().directoryIs(directory);
  slice.watch = std::make_unique<DirWatch>(
      dir, DirWatch::Reactions{[this, directory](auto const& chip, auto const& entity) {
                                 if (auto const config = Vunda::ptrCast<ChipConfig>(entity))
                                   chipAdded(directory / chip, config);
                               },
                               [this, name, directory](auto const& chip) {
                                 slices_[name].chips.erase(chip);
                                 writer().valueDel(directory / chip);
                               }});
}

void ConfigMount::chipAdded(TreePath const& value, Ptr<ChipConfig> const& config) {
  writer().valueIs(value, [config] { return Codec::jsonOf(*config); });
  slices_[value[1]].chips[value.leaf()] = watchNode(*config, [this, value](auto, auto) {
    writer().valueChanged(value);
    changed_(value[1], value.leaf());
  });
}

}  // namespace Oru::Mount
