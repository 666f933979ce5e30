#include "tests/support/RecordingHelper.h"

#include <charconv>
#include <set>
#include <string_view>
#include <utility>

#include "state/StateTypes.h"

namespace OruTest {

namespace {

using Oru::Central::ChipConfig;
using Oru::Central::ChipInfo;

// A line of words.
class Line {
 public:
  explicit Line(std::string_view first) : text_(first) {}

  Line& add(std::string_view word) {
    text_.append(" ").append(word);
    return *this;
  }
  Line& add(Vunda::String const& word) { return add(word.view()); }
  Line& add(Oru::Central::DeviceId id) { return add(std::to_string(id.value())); }
  // The shortest text that reads back as the same number.
  Line& add(Vunda::Duration time) {
    char buffer[32];
    auto const end = std::to_chars(buffer, buffer + sizeof buffer, time.seconds()).ptr;
    return add(std::string_view(buffer, static_cast<std::size_t>(end - buffer)));
  }
  Line& add(ChipInfo const& info) {
    add(info.deviceId()).add(info.name()).add(info.sliceName()).add(info.genTime());
    for (auto it = info.intfId().iterator(); it; ++it) add(it.key().name());
    return *this;
  }

  std::string const& text() const noexcept { return text_; }

 private:
  std::string text_;
};

}  // namespace

RecordingHelper::RecordingHelper(Vunda::String const& name) : Typed(name) {
  Oru::Central::registerStateTypes();
}

std::vector<std::string> RecordingHelper::takeCalls() { return std::exchange(calls_, {}); }

void RecordingHelper::called(std::string const& line) const { calls_.push_back(line); }

void RecordingHelper::initialize() { called("initialize"); }

void RecordingHelper::syncStateOnInit(Oru::Central::ChipCollection const& runningChips) {
  std::set<Oru::Central::DeviceId> ids;
  for (auto it = runningChips.chip().iterator(); it; ++it) {
    if (it.value()) ids.insert(it.key());
  }
  Line line("syncStateOnInit");
  for (auto id : ids) line.add(id);
  called(line.text());
}

void RecordingHelper::sliceDetected(Vunda::String const& sliceName) {
  called(Line("sliceDetected").add(sliceName).text());
}

void RecordingHelper::chipAdded(ChipInfo const& chipInfo) {
  called(Line("chipAdded").add(chipInfo).text());
}

void RecordingHelper::chipAlreadyAdded(ChipInfo const& chipInfo) {
  called(Line("chipAlreadyAdded").add(chipInfo).text());
}

void RecordingHelper::chipRemoved(Oru::Central::DeviceId deviceId) {
  called(Line("chipRemoved").add(deviceId).text());
}

void RecordingHelper::featureAgentResetRequested(Vunda::Duration genTime) {
  called(Line("featureAgentResetRequested").add(genTime).text());
}

void RecordingHelper::featureCollection(
    Vunda::Ptr<Oru::Central::FeatureCollection> const& featureColl) const {
  featureColl_ = featureColl;
  called(featureColl ? "featureCollection" : "featureCollection null");
}

Vunda::Ptr<ChipConfig> RecordingHelper::createChipConfig(
    Vunda::String const& chipName, Vunda::Ptr<Kesh::Dir> const& sliceConfigDir) {
  Vunda::String const dirName = sliceConfigDir ? sliceConfigDir->name() : Vunda::String("null");
  called(Line("createChipConfig").add(chipName).add(std::string_view("in")).add(dirName).text());
  if (!sliceConfigDir) return nullptr;
  return Vunda::ptrCast<ChipConfig>(sliceConfigDir->createEntity(ChipConfig::typeName, chipName));
}

}  // namespace OruTest
