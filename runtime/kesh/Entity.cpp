#include "runtime/kesh/Entity.h"

namespace Kesh {

Entity::~Entity() { nodeFlagSet(notificationActiveFlag, false); }

Vunda::Publisher* Entity::publisher() const { return &publisher_; }

void Entity::handleParent(Vunda::Ptr<Entity> const&) {}

}  // namespace Kesh
