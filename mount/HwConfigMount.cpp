#include "mount/HwConfigMount.h"

#include <algorithm>

#include "mount/JsonError.h"
#include "mount/Names.h"
#include "runtime/kesh/System.h"

namespace Oru::Mount {

using Central::ChipHwConfig;
using Central::SliceHwConfig;
using Vunda::Ptr;

namespace {

TreePath const base{"hw", "config"};

}  // namespace

HwConfigMount::HwConfigMount(MountContext const& context, Ptr<Kesh::Dir> const& hwConfigDir,
                             StatusMount& status)
    : context_(context),
      hwConfigDir_(hwConfigDir),
      status_(status),
      reader_(context.loop, context.backend, context.problems, base, TreeReader::Shape::values,
              *this) {
  status_.sliceGoneIs([this](std::string const& slice) { statusGone(slice); });
}

bool HwConfigMount::stands(std::string const& slice) const { return reader_.stands(base / slice); }

bool HwConfigMount::allAccepted() const {
  return std::ranges::all_of(reader_.valuesIn(base),
                             [&](auto const& value) { return reader_.accepted(value); });
}

void HwConfigMount::baseMissing() { context_.queue.makeDirectory(base); }

void HwConfigMount::valueIs(TreePath const& value, std::string const& text) {
  auto const data = Codec::sliceHwConfigOf(text);
  std::string const& name = value.leaf();
  if (pulled_.contains(name))
    throw JsonError({}, "waits until " + TreePath{"status", name}.text() +
                            "/ of the board that was removed has gone");
  Kesh::System::currentTimeFloorIs(data.genTime);
  auto const known = slices_.find(name);
  if (known == slices_.end())
    insert(name, data);
  else
    update(name, known->second, data);
}

void HwConfigMount::valueGone(TreePath const& value) {
  std::string const& name = value.leaf();
  if (!slices_.erase(name)) return unknownGone_();
  if (status_.hasSlice(name)) pulled_.insert(name);
  hwConfigDir_->deleteEntity(entityName(name));
}

void HwConfigMount::statusGone(std::string const& slice) {
  if (pulled_.erase(slice)) reader_.lookAgain(base / slice);
  if (!slices_.contains(slice)) unknownGone_();
}

void HwConfigMount::insert(std::string const& name, Codec::SliceHwData const& data) {
  Slice& slice = slices_[name];
  slice.config = Vunda::makeNode<SliceHwConfig>(entityName(name));
  applyChips(slice, data);
  slice.config->genTimeIs(data.genTime);
  hwConfigDir_->entityIs(slice.config);
}

// The machine acts on the generation, and then relies on a configuration and a status of each chip.
// A slice without status has no machine: its agent has not reported yet, or the board left, its agent
// before its file, and this one came before the loss of the file was seen. It is announced complete,
// as an inserted one, the very board that was there before too.
void HwConfigMount::update(std::string const& name, Slice& slice, Codec::SliceHwData const& data) {
  bool const otherChips = applyChips(slice, data);
  if (!status_.hasSlice(name)) {
    slice.config->genTimeIs(data.genTime);
    hwConfigDir_->entityIs(slice.config);
    return;
  }
  if (!otherChips && slice.config->genTime() == data.genTime) return;
  if (otherChips) hwConfigDir_->entityIs(slice.config);
  status_.chipsAre(name, *slice.config);
  slice.config->genTimeIs(data.genTime);
}

// Returns whether the list of chips, or a device id, is another.
bool HwConfigMount::applyChips(Slice& slice, Codec::SliceHwData const& data) {
  SliceHwConfig& config = *slice.config;
  bool changed = false;
  for (auto at = config.chipConfig().iterator(); at; ++at) {
    if (data.chips.contains(treeName(at.key()))) continue;
    changed = true;
    config.chipConfigDel(at.key());
  }
  for (auto const& [name, chipData] : data.chips) {
    auto& chip = slice.chips[name];
    if (!chip) chip = Vunda::makeNode<ChipHwConfig>(entityName(name));
    bool const isListed = config.chipConfig(entityName(name)) != nullptr;
    changed = changed || !isListed || chip->deviceId() != chipData.deviceId;
    Codec::apply(chipData, *chip);
    if (!isListed) config.chipConfigIs(chip);
  }
  return changed;
}

}  // namespace Oru::Mount
