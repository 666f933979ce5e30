#pragma once

#include "runtime/kesh/Entity.h"
#include "runtime/kesh/HashMap2018.h"

namespace Kesh {

struct HN_EntityPtr;

// A directory: an entity that holds named entities and announces, with field `entityPtrField` and a
// pointer to the name (a String), every insertion, deletion and replacement of a member; the value
// points to a Ptr<Entity>, and is null for a deletion. Lookups hand out counted pointers. All
// operations may be called from within a notification, and while the directory is iterated.
class ORU_EXPORT Dir : public Typed<Dir, Entity> {
 public:
  static constexpr char const* typeName = "Kesh::Dir";
  static constexpr Vunda::FieldId entityPtrField{266};

  using Typed::Typed;

  // The entity of that name, or null.
  Vunda::Ptr<Entity> entityPtr(Vunda::String const& name) { return entityPtr_.value(name); }
  Vunda::Ptr<Entity const> entityPtr(Vunda::String const& name) const {
    return entityPtr_.value(name);
  }
  bool entityPtrHas(Vunda::String const& name) const { return entityPtr_.has(name); }
  std::uint32_t entityPtrCount() const { return entityPtr_.size(); }

  // The entity of that name, whatever its type; created with the type of that name and announced
  // when there is none. Raises UnknownTypeException when it would have to be created and the type
  // is not registered.
  Vunda::Ptr<Entity> createEntity(char const* type, Vunda::String const& name);
  // Inserts an existing entity under its name, in place of one that stands there, and announces it.
  // Inserting the very object that is there announces it again ("look at it once more"). Raises
  // MutatorArgNullPointerException on null.
  void entityIs(Vunda::Ptr<Entity> const& entity);
  // Removes the entity of that name and returns it; null, and nothing announced, when there is
  // none.
  Vunda::Ptr<Entity> deleteEntity(Vunda::String const& name);

  // Iteration over (name, entity), in order of insertion. The name may be read after the removal of
  // the member; the entity then reads as null.
  template <class E>
  class EntityIterator {
   public:
    explicit EntityIterator(Dir const& dir) noexcept : at_(dir.entityPtr_) {}

    explicit operator bool() const noexcept { return static_cast<bool>(at_); }
    EntityIterator& operator++() noexcept {
      ++at_;
      return *this;
    }
    Vunda::String name() const noexcept { return at_.key(); }
    Vunda::Ptr<E> entity() const noexcept { return at_.value(); }

   private:
    HashMap2018<HN_EntityPtr, Vunda::String, Vunda::Ptr<Entity>>::Iterator at_;
  };
  EntityIterator<Entity> entityPtrIterator() { return EntityIterator<Entity>(*this); }
  EntityIterator<Entity const> entityPtrIteratorConst() const {
    return EntityIterator<Entity const>(*this);
  }

  // Directories that go while another one is being destroyed wait for their turn, so that a deep
  // tree costs no stack.
  void lastUserGone() override;

 private:
  HashMap2018<HN_EntityPtr, Vunda::String, Vunda::Ptr<Entity>> entityPtr_;
  Dir* nextToGo_ = nullptr;
};

}  // namespace Kesh
