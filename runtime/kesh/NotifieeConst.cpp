#include "runtime/kesh/NotifieeConst.h"

namespace Kesh {

NotifieeConst::~NotifieeConst() { NotifieeConst::isRegisteredNotifieeIs(false); }

void NotifieeConst::isRegisteredNotifieeIs(bool registered) {
  if (!notifier_ || registered == subscriber_.subscribed()) return;
  if (registered) {
    subscriber_.subscribeTo(notifier_, &attributeDispatch);
  } else {
    subscriber_.unsubscribeFrom(notifier_);
  }
}

void NotifieeConst::onZeroReferences() { delete this; }

void NotifieeConst::onAttribute(Vunda::FieldId, void const*) {}

void NotifieeConst::keshDoZombieReactors(bool zombie) { nodeFlagSet(zombieReactorsFlag, zombie); }

void NotifieeConst::notifierIs(Vunda::Node const* notifier) {
  if (notifier == notifier_.ptr()) return;
  isRegisteredNotifieeIs(false);
  notifier_ = Vunda::Ptr<Vunda::Node const>(notifier);
}

void NotifieeConst::hasNotificationActiveIs(bool active) {
  if (active == hasNotificationActive()) return;
  nodeFlagSet(notificationActiveFlag, active);
  bool const zombie = zombieReactors();
  nodeFlagSet(zombieReactorsFlag, true);
  isRegisteredNotifieeIs(active);
  nodeFlagSet(zombieReactorsFlag, zombie);
}

void NotifieeConst::attributeDispatch(Vunda::Publisher*, Vunda::Subscriber* slot,
                                      Vunda::FieldId field, void const* key, void const*) noexcept {
  NotifieeConst& self = *static_cast<Slot*>(slot)->notifiee;
  if (self.useCount() == 0) return;
  Vunda::Ptr<NotifieeConst> const keepAlive(&self);
  self.onAttribute(field, key);
}

}  // namespace Kesh
