#pragma once

#include <map>
#include <string>

#include "helper/FeatureCollection.h"
#include "mount/MountContext.h"
#include "mount/TreeReader.h"

namespace Oru::Mount {

// features/<feature>.json -> the feature collection, once there is one.
class FeatureMount final : TreeReader::Consumer {
 public:
  explicit FeatureMount(MountContext const& context);

  void start() { reader_.start(); }
  // Fills the collection, and keeps it as the tree is from now on.
  void collectionIs(Vunda::Ptr<Central::FeatureCollection> const& collection);
  // Whether a file stands at the feature's place, accepted or not.
  bool stands(std::string const& feature) const;

 private:
  void valueIs(TreePath const& value, std::string const& text) override;
  void valueGone(TreePath const& value) override;
  void baseMissing() override;

  MountContext const context_;
  TreeReader reader_;
  std::map<std::string, bool> features_;
  Vunda::Ptr<Central::FeatureCollection> collection_;
};

}  // namespace Oru::Mount
