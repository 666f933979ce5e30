#include "runtime/vunda/Node.h"

namespace Vunda {

void Node::lastUserGone() { delete this; }

Publisher* Node::publisher() const { return nullptr; }

TypeData const* Node::typeData() const {
  static constexpr TypeData data{"Vunda::Node"};
  return &data;
}

}  // namespace Vunda
