#pragma once
/// \class Vex::IndexedCollection
/// A Vex::Collection with a hash index beside it, for collections that are
/// looked up by key on every event.
///
/// Iteration, parents and removal behave exactly as the Collection's (the
/// ordered collection is the one that holds the members); member lookups go
/// through the index instead of the ordered tree. The index follows every
/// change before any member can run code, so a member that dies during a
/// removal finds the collection consistent.
///
/// The index is open addressing over a power-of-two table: each slot keeps the
/// key's hash, a pointer to the key held by the ordered collection, and the
/// member, so a lookup hashes once and compares one key in the usual case.

#include <algorithm>
#include <cstddef>
#include <functional>
#include <utility>
#include <vector>

#include <hubstore/foundations/framework/collection.h>

namespace Vex {

template <class K, class T>
class IndexedCollection {
 public:
  /// An empty collection; `owner` and `attribute` name the parent of entity
  /// members, as for Collection; both may be null.
  explicit IndexedCollection(const Entity* owner = nullptr, const char* attribute = nullptr)
      : members_(owner, attribute) {}
  /// Not copyable: the index points into the ordered collection.
  ///@{
  IndexedCollection(const IndexedCollection&) = delete;
  IndexedCollection& operator=(const IndexedCollection&) = delete;
  ///@}
  /// Lets every member go, as deleteAll() does.
  ~IndexedCollection() { deleteAll(); }

  /// The member under `key`, or null: a counted reference, or a plain pointer
  /// for hot paths that take no reference; found through the index.
  ///@{
  Ptr<T> member(const K& key) const { return Ptr<T>(memberRaw(key)); }
  T* memberRaw(const K& key) const {
  ///@}
    const std::size_t at = slotOf(key);
    return at == absent ? nullptr : slots_[at].member;
  }
  /// Inserts `value` under `key`, replacing (and detaching) a previous member.
  const Ptr<T>& newMember(const K& key, Ptr<T> value) {
    T* raw = value.get();
    if (const std::size_t at = slotOf(key); at != absent) {
      // Re-pointed first: the replaced member may run code as it goes.
      if (raw) {
        slots_[at].member = raw;
      } else {
        unindex(key);
      }
      return members_.newMember(key, std::move(value));
    }
    const Ptr<T>& slot = members_.newMember(key, std::move(value));
    // The key the ordered collection holds lives as long as its entry.
    if (raw) index(&members_.members().find(key)->first, raw);
    return slot;
  }
  /// Removes the member under `key` and returns it; null when absent.
  Ptr<T> deleteMember(const K& key) {
    unindex(key);
    return members_.deleteMember(key);
  }
  /// Removes every member, one at a time, index first.
  void deleteAll() {
    while (!members_.empty()) deleteMember(members_.begin().key());
  }
  /// The number of members.
  std::size_t count() const { return members_.count(); }
  /// Whether there are no members.
  bool empty() const { return members_.empty(); }
  /// The members in key order.
  const Collection<K, T>& ordered() const { return members_; }

  /// Walks the members in key order; see Collection::Iterator.
  using Iterator = typename Collection<K, T>::Iterator;
  /// An iterator at the first member; loops run while `it != end()`.
  Iterator begin() const { return members_.begin(); }
  /// The end, as the iterator compares with it.
  std::nullptr_t end() const { return nullptr; }

 private:
  struct Slot {
    std::size_t hash = 0;
    const K* key = nullptr;
    T* member = nullptr;  // null: the slot is free
  };

  std::size_t mask() const { return slots_.size() - 1; }

  static constexpr std::size_t absent = ~std::size_t{0};

  // The slot that indexes `key`, or `absent`.
  std::size_t slotOf(const K& key) const {
    if (slots_.empty()) return absent;
    const std::size_t hash = std::hash<K>()(key);
    for (std::size_t i = hash & mask();; i = (i + 1) & mask()) {
      const Slot& slot = slots_[i];
      if (!slot.member) return absent;
      if (slot.hash == hash && *slot.key == key) return i;
    }
  }

  void index(const K* key, T* member) {
    if (2 * (indexed_ + 1) > slots_.size()) grow();
    place(Slot{std::hash<K>()(*key), key, member});
    ++indexed_;
  }
  void place(const Slot& entry) {
    std::size_t i = entry.hash & mask();
    while (slots_[i].member) i = (i + 1) & mask();
    slots_[i] = entry;
  }
  void grow() {
    std::vector<Slot> old(std::max<std::size_t>(8, 2 * slots_.size()));
    old.swap(slots_);
    for (const Slot& entry : old) {
      if (entry.member) place(entry);
    }
  }
  // Drops `key` from the index; later slots of its run move back so that no
  // lookup stops early at the freed one.
  void unindex(const K& key) {
    std::size_t hole = slotOf(key);
    if (hole == absent) return;
    --indexed_;
    for (std::size_t i = (hole + 1) & mask(); slots_[i].member; i = (i + 1) & mask()) {
      const std::size_t home = slots_[i].hash & mask();
      // The entry at i may fill the hole unless its home lies after the hole.
      const bool stays = hole <= i ? (hole < home && home <= i) : (hole < home || home <= i);
      if (stays) continue;
      slots_[hole] = slots_[i];
      hole = i;
    }
    slots_[hole] = Slot{};
  }

  Collection<K, T> members_;
  std::vector<Slot> slots_;
  std::size_t indexed_ = 0;
};

}  // namespace Vex
