#pragma once
/// \class Vex::Collection
/// A named collection of counted members, ordered by key, over tree storage;
/// Vex::FlatCollection is the same collection over a sorted array. Lookup,
/// insertion order and iteration are OrderedEntries': iteration is in key order
/// and survives any change made while it runs (the iterator holds the current
/// key and a counted reference to the member).
///
/// Members that are entities are told their parent when they join
/// (Entity::parentIs) and lose it when they leave or the collection dies.

#include <cstddef>
#include <type_traits>
#include <utility>

#include <hubstore/foundations/framework/entity.h>
#include <hubstore/foundations/framework/ordered_entries.h>
#include <hubstore/foundations/framework/ptr.h>
#include <hubstore/foundations/framework/tree_storage.h>

namespace Vex {

template <class K, class T, template <class, class> class Storage = TreeStorage>
class Collection {
  using Entries = OrderedEntries<Storage<K, Ptr<T>>>;

 public:
  /// The members as the storage holds them, in key order.
  using Members = typename Entries::Items;
  /// Walks the members in key order; see OrderedEntries::Iterator.
  using Iterator = typename Entries::template Iterator<Entries::Yields::value>;

  /// An empty collection; `owner` and `attribute` name the parent of entity
  /// members; both may be null.
  explicit Collection(const Entity* owner = nullptr, const char* attribute = nullptr)
      : owner_(owner), attribute_(attribute) {}
  /// Not copyable: members know their collection's owner.
  ///@{
  Collection(const Collection&) = delete;
  Collection& operator=(const Collection&) = delete;
  ///@}
  /// Lets every member go, as deleteAll() does.
  ~Collection() { deleteAll(); }

  /// The member under `key`, or null; a counted reference.
  Ptr<T> member(const K& key) const { return Ptr<T>(memberRaw(key)); }
  /// The member under `key`, or null, as a plain pointer: for hot paths that
  /// take no reference.
  T* memberRaw(const K& key) const {
    const Ptr<T>* found = entries_.find(key);
    return found ? found->get() : nullptr;
  }
  /// Inserts `value` under `key`, replacing (and detaching) a previous member.
  const Ptr<T>& newMember(const K& key, Ptr<T> value) {
    attach(value.get());
    auto [slot, inserted] = entries_.tryEmplace(key, std::move(value));
    if (inserted) return slot;
    Ptr<T> previous = std::exchange(slot, std::move(value));
    if (previous && previous != slot) detach(previous.get());
    return slot;
  }
  /// Removes the member under `key` and returns it; null when absent.
  Ptr<T> deleteMember(const K& key) {
    auto removed = entries_.take(key);
    if (!removed) return Ptr<T>();
    detach(removed->get());
    return std::move(*removed);
  }
  /// Removes every member: each lets go of its parent as it leaves, and dies (when nothing
  /// else holds it) with the collection consistent without it.
  void deleteAll() {
    while (!entries_.empty()) detach(entries_.takeNextToClear().get());
  }
  /// Reserves room for `count` members without a reallocation (sorted-array storage).
  void reserve(std::size_t count) { entries_.reserve(count); }
  /// The number of members.
  std::size_t count() const { return entries_.count(); }
  /// Whether there are no members.
  bool empty() const { return entries_.empty(); }
  /// The members, in key order.
  const Members& members() const { return entries_.items(); }

  /// An iterator at the first member; loops run while `it != end()`.
  Iterator begin() const { return Iterator(&entries_); }
  /// The end, as the iterator compares with it.
  std::nullptr_t end() const { return nullptr; }

 private:
  void attach(T* member) {
    if constexpr (std::is_base_of_v<Entity, T>) {
      if (member && owner_) member->parentIs(owner_, attribute_);
    }
  }
  void detach(T* member) {
    if constexpr (std::is_base_of_v<Entity, T>) {
      if (member && member->parent() == owner_) member->parentIs(nullptr, nullptr);
    }
  }

  Entries entries_;
  const Entity* owner_;
  const char* attribute_;
};

}  // namespace Vex
