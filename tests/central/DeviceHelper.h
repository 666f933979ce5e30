#pragma once

#include <functional>
#include <map>
#include <string>

#include "tests/central/Journal.h"
#include "tests/support/RecordingHelper.h"

namespace OruTest {

// The platform helper of the tests: notes every call in the journal, and lets a test act from
// within a call.
class DeviceHelper : public Kesh::Typed<DeviceHelper, RecordingHelper> {
 public:
  static constexpr char const* typeName = "OruTest::DeviceHelper";
  using Action = std::function<void()>;

  // `journal` outlives the helper.
  explicit DeviceHelper(Journal& journal) : Typed("helper"), journal_(journal) {}
  ~DeviceHelper() override;

  // Runs within each call of that operation from now on, or only within the next one, once it was
  // noted.
  void on(std::string const& operation, Action action) { actions_[operation] = std::move(action); }
  void once(std::string const& operation, Action action);
  void forgetActions() { actions_.clear(); }
  // createChipConfig returns null instead of a chip configuration, and notes nothing.
  void noChipConfigs() { makesChipConfigs_ = false; }

  Vunda::Ptr<Oru::Central::ChipConfig> createChipConfig(
      Vunda::String const& chipName, Vunda::Ptr<Kesh::Dir> const& sliceConfigDir) override;

 private:
  void called(std::string const& line) const override;

  Journal& journal_;
  std::map<std::string, Action> actions_;
  bool makesChipConfigs_ = true;
};

}  // namespace OruTest
