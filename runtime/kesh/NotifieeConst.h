#pragma once

#include "runtime/vunda/Export.h"
#include "runtime/vunda/Ptr.h"
#include "runtime/vunda/Subscriber.h"

namespace Kesh {

// Base of a reactor that observes exactly one node, its notifier, and keeps it alive. A derived
// class overrides `onAttribute`. Without a notifier everything is legal and nothing happens.
//
// The base does not look at the zombie flag: what a zombie ignores is the derived class's decision.
class ORU_EXPORT NotifieeConst : public Vunda::Node {
 public:
  NotifieeConst() = default;
  ~NotifieeConst() override;

  void lastUserGone() override { onZeroReferences(); }
  // Registers with the notifier's publisher, or unregisters; nothing when it already is so. Every
  // registration and its end go through here, but for the one that ends with the object.
  virtual void isRegisteredNotifieeIs(bool registered);
  // The last user is gone. Destroys the notifiee.
  virtual void onZeroReferences();
  // A change of the notifier: the field, and the key of the changed member (null for an attribute).
  // Called for a zombie too, but not once the notifiee is being destroyed. The notifiee stays alive
  // until this returns; an exception ends the process.
  virtual void onAttribute(Vunda::FieldId field, void const* key);
  // Sets the zombie flag.
  virtual void keshDoZombieReactors(bool zombie);

  Vunda::Node const* notifier() const noexcept { return notifier_.ptr(); }
  // Observes another node, or none. A registration with the old one ends; registering with the new
  // one is the caller's.
  void notifierIs(Vunda::Node const* notifier);
  // Switches notifications: sets the notification-active flag and registers or unregisters, with
  // the zombie flag set meanwhile. Nothing when the flag has that value.
  void hasNotificationActiveIs(bool active);

  bool isRegisteredNotifiee() const noexcept { return subscriber_.subscribed(); }
  bool hasNotificationActive() const noexcept { return nodeFlag(notificationActiveFlag); }
  bool zombieReactors() const noexcept { return nodeFlag(zombieReactorsFlag); }

 private:
  struct Slot : Vunda::Subscriber {
    explicit Slot(NotifieeConst& owner) noexcept : notifiee(&owner) {}
    NotifieeConst* notifiee;
  };
  static void attributeDispatch(Vunda::Publisher*, Vunda::Subscriber* slot, Vunda::FieldId field,
                                void const* key, void const* value) noexcept;

  Vunda::Ptr<Vunda::Node const> notifier_;
  Slot subscriber_{*this};
};

}  // namespace Kesh
