#pragma once
/// \class Vex::Entity
/// A named record of a state database. It can be watched: every
/// change of one of its attributes is reported to its notifiees with the
/// attribute's id and, for a collection member, a pointer to the member's key.
///
/// An entity that is a member of another entity's collection knows its parent
/// (a plain pointer, cleared when it leaves the collection or the parent dies)
/// and the name of the collection attribute, which together give fullName():
/// "parentFullName/attribute/name".

#include <hubstore/foundations/framework/notifiee_list.h>
#include <hubstore/foundations/framework/ptr.h>
#include <hubstore/foundations/framework/ptr_interface.h>
#include <hubstore/foundations/framework/string.h>

namespace Vex {

class Entity : public PtrInterface {
 public:
  /// The name, fixed at creation (its key in a parent's collection).
  const Name& name() const { return name_; }
  /// The entity whose collection holds this one, or null.
  const Entity* parent() const { return parent_; }
  /// The name of the parent's collection attribute, or null.
  const char* parentAttrName() const { return parentAttrName_; }
  /// "parentFullName/attribute/name", or just the name without a parent.
  String fullName() const;
  /// The entity's notifiees, to which every change is reported.
  NotifieeList* notifieeList() const override { return &notifiees_; }

  /// The parent and its collection attribute; kept by the collection that
  /// holds the entity (null when it leaves).
  void parentIs(const Entity* parent, const char* attribute) {
    parent_ = parent;
    parentAttrName_ = attribute;
  }

 protected:
  /// An entity named `name`, without a parent.
  explicit Entity(Name name) : name_(std::move(name)) {}
  /// Destroyed through its last reference.
  ~Entity() override = default;

  /// Reports a change to the notifiees. The entity keeps itself alive for the
  /// dispatch, so a notifiee may release the last reference to it.
  void notify(AttributeId attribute, const void* key = nullptr) const {
    if (notifiees_.empty()) return;
    if (threadSafePointers()) [[unlikely]] {
      notifiees_.visitCounted(attribute, key, this);
      return;
    }
    notifiees_.visit(attribute, key, this);
  }

  /// Create-or-return of a collection member, notifying on creation.
  template <class Members, class Factory>
  auto memberIs(Members& members, const Name& key, AttributeId attribute, Factory create) const {
    auto member = members.member(key);
    if (member) return member;
    member = members.newMember(key, create(key));
    notify(attribute, &key);
    return member;
  }
  /// Removal of a collection member, notifying when there was one. The removed
  /// member stays alive until the notification is done.
  template <class Members>
  void memberDel(Members& members, const Name& key, AttributeId attribute) const {
    if (auto removed = members.deleteMember(key)) notify(attribute, &key);
  }

  /// Stores `value` when it differs; returns whether it did.
  template <class T, class U>
  static bool assignIfChanged(T& slot, U&& value) {
    if (slot == value) return false;
    slot = std::forward<U>(value);
    return true;
  }

 private:
  Name name_;
  const Entity* parent_ = nullptr;
  const char* parentAttrName_ = nullptr;
  mutable NotifieeList notifiees_;
};

}  // namespace Vex
