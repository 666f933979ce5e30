#include "mount/FeatureMount.h"

#include "mount/Codec.h"
#include "mount/Names.h"

namespace Oru::Mount {

namespace {

TreePath const base{"features"};

}  // namespace

FeatureMount::FeatureMount(MountContext const& context)
    : context_(context),
      reader_(context.loop, context.backend, context.problems, base, TreeReader::Shape::values,
              *this) {}

void FeatureMount::baseMissing() { context_.queue.makeDirectory(base); }

bool FeatureMount::stands(std::string const& feature) const {
  return reader_.stands(base / feature);
}

void FeatureMount::collectionIs(Vunda::Ptr<Central::FeatureCollection> const& collection) {
  collection_ = collection;
  for (auto const& [name, enabled] : features_) collection_->featureIs(entityName(name), enabled);
}

void FeatureMount::valueIs(TreePath const& value, std::string const& text) {
  bool const enabled = Codec::featureOf(text);
  features_[value.leaf()] = enabled;
  if (collection_) collection_->featureIs(entityName(value.leaf()), enabled);
}

void FeatureMount::valueGone(TreePath const& value) {
  features_.erase(value.leaf());
  if (collection_) collection_->featureDel(entityName(value.leaf()));
}

}  // namespace Oru::Mount
