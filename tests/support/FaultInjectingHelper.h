#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <stdexcept>

#include "helper/ForwardingHelper.h"

namespace OruTest {

// The operations of a helper, in slot order.
enum class HelperCall : std::size_t {
  initialize,
  syncStateOnInit,
  sliceDetected,
  chipAdded,
  chipAlreadyAdded,
  chipRemoved,
  featureAgentResetRequested,
  featureCollection,
  createChipConfig,
};

// What an injected fault throws.
struct InjectedFault : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// A helper that interferes with the calls that pass through it to its target:
//
//   helper->throwAtCall(3);                                     the third call from now throws InjectedFault
//   helper->insideCallIs(HelperCall::chipAdded, [&] { ... });   each chipAdded runs this before it is passed on
//
// A call that throws is not passed on, and runs no action.
class FaultInjectingHelper : public Kesh::Typed<FaultInjectingHelper, OruHelper::ForwardingHelper> {
 public:
  static constexpr char const* typeName = "OruTest::FaultInjectingHelper";
  using Action = std::function<void()>;

  using Typed::Typed;

  // Calls so far, those that threw included.
  std::size_t callCount() const noexcept { return callCount_; }
  // Lets the n-th call from now throw, once; 0 for none.
  void throwAtCall(std::size_t n) noexcept { throwAt_ = n == 0 ? 0 : callCount_ + n; }
  // Sets what runs inside each such call; null for nothing. The action may set another one, or
  // itself to null.
  void insideCallIs(HelperCall call, Action action);

  void initialize() override;
  void syncStateOnInit(Oru::Central::ChipCollection const& runningChips) override;
  void sliceDetected(Vunda::String const& sliceName) override;
  void chipAdded(Oru::Central::ChipInfo const& chipInfo) override;
  void chipAlreadyAdded(Oru::Central::ChipInfo const& chipInfo) override;
  void chipRemoved(Oru::Central::DeviceId deviceId) override;
  void featureAgentResetRequested(Vunda::Duration genTime) override;
  void featureCollection(
      Vunda::Ptr<Oru::Central::FeatureCollection> const& featureColl) const override;
  Vunda::Ptr<Oru::Central::ChipConfig> createChipConfig(
      Vunda::String const& chipName, Vunda::Ptr<Kesh::Dir> const& sliceConfigDir) override;

 private:
  static constexpr std::size_t operations = 9;

  void enter(HelperCall call) const;

  std::array<Action, operations> inside_;
  mutable std::size_t callCount_ = 0;
  std::size_t throwAt_ = 0;
};

}  // namespace OruTest
