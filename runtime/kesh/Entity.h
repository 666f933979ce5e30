#pragma once

#include "runtime/kesh/AllocTrackTypeInfo.h"
#include "runtime/vunda/Export.h"
#include "runtime/vunda/Ptr.h"
#include "runtime/vunda/Publisher.h"
#include "runtime/vunda/String.h"

namespace Kesh {

// A named node that lives in a directory and announces its changes. The name never changes.
class ORU_EXPORT Entity : public Vunda::Node {
 public:
  explicit Entity(Vunda::String const& name) noexcept : name_(name) {}
  ~Entity() override;

  Vunda::String const& name() const noexcept { return name_; }
  Vunda::Publisher* publisher() const override;
  // The entity was put into `parent`, or, when null, taken out of the directory it was in. Called
  // before the directory announces the change. The default does nothing.
  virtual void handleParent(Vunda::Ptr<Entity> const& parent);

 protected:
  // Mutators of attributes: compare, assign, announce, in one line each. A value equal to the one
  // held (by ==) is neither written nor announced; a NaN therefore always is.
  template <class T>
  void attributeIs(Vunda::FieldId field, T& attribute, T const& value) {
    if (attribute == value) return;
    attribute = value;
    publisher_.publishChange(field, nullptr, &attribute);
  }

  // Mutators of keyed members. The first insertion of a key and every removal is announced,
  // whatever the value.
  template <class Map, class Key, class Value>
  void memberIs(Vunda::FieldId field, Map& map, Key const& key, Value const& value) {
    if (map.memberIs(key, value)) publisher_.publishChange(field, &key, &value);
  }
  template <class Map, class Key>
  void memberDel(Vunda::FieldId field, Map& map, Key const& key) {
    Key const kept = key;  // the key may live in the member that goes
    if (map.deleteMember(kept)) publisher_.publishChange(field, &kept, nullptr);
  }

  mutable Vunda::Publisher publisher_{*this};

 private:
  Vunda::String const name_;
};

}  // namespace Kesh
