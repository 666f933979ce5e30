#pragma once

#include "runtime/kesh/AllocTrackTypeInfo.h"
#include "runtime/vunda/Export.h"
#include "runtime/vunda/Ptr.h"
#include "runtime/vunda/Publisher.h"
#include "runtime/vunda/String.h"

namespace Kesh {

// A named node that lives in a directory and announces its changes. The name never changes. A
// derived class writes each mutator in one line, with its `publisher_`:
//
//   void genTimeIs(Vunda::Duration time) { publisher_.attributeIs(genTimeField, genTime_, time); }
class ORU_EXPORT Entity : public Vunda::Node {
 public:
  explicit Entity(Vunda::String const& name) noexcept : name_(name) {}
  ~Entity() override;

  Vunda::String const& name() const noexcept { return name_; }
  Vunda::Publisher* publisher() const override;
  // The entity was put into `parent`, or, when null, taken out of the directory it was in. Called
  // before the directory announces the change; must not throw. A directory that goes with its
  // entities tells none of them. The default does nothing.
  virtual void handleParent(Vunda::Ptr<Entity> const& parent);

 protected:
  mutable Vunda::Publisher publisher_{*this};

 private:
  Vunda::String const name_;
};

}  // namespace Kesh
