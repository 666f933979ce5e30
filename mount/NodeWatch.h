#pragma once

#include <functional>
#include <utility>

#include "runtime/kesh/AllocTrackTypeInfo.h"
#include "runtime/kesh/NotifieeConst.h"

namespace Oru::Mount {

// Tells a function of every change of a node, from its making to the release of its last pointer.
// Keeps the node alive. The function must not raise.
class NodeWatch : public Kesh::Typed<NodeWatch, Kesh::NotifieeConst> {
 public:
  static constexpr char const* typeName = "Oru::Mount::NodeWatch";
  // The field, and the key of the changed member (null for an attribute).
  using OnChange = std::function<void(Vunda::FieldId field, void const* key)>;

  explicit NodeWatch(OnChange onChange) : onChange_(std::move(onChange)) {}

  void onAttribute(Vunda::FieldId field, void const* key) override { onChange_(field, key); }

 private:
  OnChange const onChange_;
};

inline Vunda::Ptr<NodeWatch> watchNode(Vunda::Node const& node, NodeWatch::OnChange onChange) {
  auto watch = Vunda::makeNode<NodeWatch>(std::move(onChange));
  watch->notifierIs(&node);
  watch->hasNotificationActiveIs(true);
  return watch;
}

}  // namespace Oru::Mount
