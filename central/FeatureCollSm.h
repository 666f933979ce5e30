#pragma once

#include <tuple>

#include "helper/FeatureCollection.h"
#include "runtime/kesh/Dir.h"
#include "runtime/kesh/StateMachine.h"
#include "runtime/vunda/Export.h"

namespace Oru::Central {

// Mirrors the names of a feature collection into the feature launcher directory: one entry per
// feature runs that feature's agent.
//
//   watches   featureColl   feature (field 130)   -> handleFeatureColl(name)
//   writes    featureLauncherConfigDir   entry `name` for every feature in the collection, whatever
//             its flag: a feature that is switched off keeps its agent, a removed one loses it
//
// Both members may be null; then every handler only says so. Entries stay when the machine goes.
// The whole-collection pass only adds: an entry that is in no collection is nobody's to remove.
class ORU_EXPORT FeatureCollSm : public Kesh::StateMachine<FeatureCollSm> {
 public:
  static constexpr char const* typeName = "Oru::Central::FeatureCollSm";

  static Vunda::Ptr<FeatureCollSm> FeatureCollSmIs(
      Vunda::Ptr<FeatureCollection const> const& featureColl,
      Vunda::Ptr<Kesh::Dir> const& featureLauncherConfigDir);
  ~FeatureCollSm() override;

  Vunda::Ptr<FeatureCollection const> const& featureColl() const { return featureColl_.ptr(); }
  Vunda::Ptr<Kesh::Dir> const& featureLauncherConfigDir() const {
    return featureLauncherConfigDir_;
  }

  void handleFeatureColl();
  void handleFeatureColl(Vunda::String const& name);

  static void featureCollDispatch(Vunda::Publisher*, Vunda::Subscriber* slot, Vunda::FieldId field,
                                  void const* key, void const* value) noexcept;

 private:
  friend class Kesh::StateMachine<FeatureCollSm>;

  FeatureCollSm(Vunda::Ptr<FeatureCollection const> const& featureColl,
                Vunda::Ptr<Kesh::Dir> const& featureLauncherConfigDir);
  bool membersAreSet() const { return featureLauncherConfigDir() && featureColl(); }
  auto watched() { return std::tie(featureColl_); }
  auto children() { return std::tuple<>(); }

  Kesh::Watched<FeatureCollSm, FeatureCollection const> featureColl_;
  Vunda::Ptr<Kesh::Dir> const featureLauncherConfigDir_;
};

}  // namespace Oru::Central
