#pragma once

#include "runtime/kesh/AllocTrackTypeInfo.h"
#include "runtime/kesh/HashMap2018.h"
#include "runtime/vunda/Export.h"
#include "runtime/vunda/FieldId.h"
#include "runtime/vunda/Ptr.h"
#include "runtime/vunda/Publisher.h"
#include "runtime/vunda/String.h"

namespace Oru::Central {

struct HN_Feature;

// The software features of the system, each named and switched on or off.
//
//   feature   feature name -> enabled
//             written by the hosting agent or its helper; read by FeatureCollSm
//
// Each change is announced with `featureField` and a pointer to the feature's name. Switching a
// feature off keeps its entry; only a deletion removes it. Mutators may be called from within a
// notification.
class ORU_EXPORT FeatureCollection : public Kesh::Typed<FeatureCollection, Vunda::Node> {
 public:
  static constexpr char const* typeName = "Oru::Central::FeatureCollection";
  static constexpr Vunda::FieldId featureField{130};

  using FeatureMap = Kesh::HashMap2018<HN_Feature, Vunda::String, bool>;

  FeatureCollection() = default;
  ~FeatureCollection() override;

  Vunda::Publisher* publisher() const override;

  FeatureMap const& feature() const noexcept { return feature_; }
  // Whether that feature is there and enabled.
  bool feature(Vunda::String const& name) const noexcept { return feature_.value(name); }

  // Inserts or updates one feature. Announced when it is new, whatever its value, or changed.
  void featureIs(Vunda::String const& name, bool enabled);
  // Removes one feature. Announced when there was one.
  void featureDel(Vunda::String const& name);
  // Removes the features that there are now, each announced, in order; silently and at once when
  // nobody subscribes.
  void featureDelAll();

 private:
  FeatureMap feature_;
  mutable Vunda::Publisher publisher_{*this};
};

// A new, empty collection.
ORU_EXPORT Vunda::Ptr<FeatureCollection> featureCollectionFactory();

}  // namespace Oru::Central
