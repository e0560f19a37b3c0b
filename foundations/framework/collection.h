#pragma once
// Vex::Collection<K, T>: a named collection of counted members, ordered by key.
//
// Iteration is in key order and survives any change of the collection made
// while it runs: the iterator holds the current key and a counted reference
// to the current member, and steps to the first key after the current one.
// So the member under the iterator (or any other) may be deleted, and members
// may be added; an added member is visited if its key sorts after the current
// one. A step is a plain step to the next entry while nothing was removed
// since the last one (additions move no entry); after a removal it is one
// ordered lookup of the first key after the current one.
//
// Members that are entities are told their parent when they join
// (Entity::parentIs) and lose it when they leave or the collection dies.

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <map>
#include <type_traits>
#include <utility>

#include <hubstore/foundations/framework/entity.h>
#include <hubstore/foundations/framework/ptr.h>

namespace Vex {

template <class K, class T>
class Collection {
 public:
  using Members = std::map<K, Ptr<T>>;

  // `owner`/`attribute` name the parent of entity members; both may be null.
  explicit Collection(const Entity* owner = nullptr, const char* attribute = nullptr)
      : owner_(owner), attribute_(attribute) {}
  Collection(const Collection&) = delete;
  Collection& operator=(const Collection&) = delete;
  ~Collection() { deleteAll(); }

  Ptr<T> member(const K& key) const {
    auto found = members_.find(key);
    return found == members_.end() ? Ptr<T>() : found->second;
  }
  // Raw lookup for hot paths that take no reference.
  T* memberRaw(const K& key) const {
    auto found = members_.find(key);
    return found == members_.end() ? nullptr : found->second.get();
  }
  // Inserts `value` under `key`, replacing (and detaching) a previous member.
  const Ptr<T>& newMember(const K& key, Ptr<T> value) {
    attach(value.get());
    Ptr<T>& slot = members_[key];
    Ptr<T> previous = std::exchange(slot, std::move(value));
    if (previous && previous != slot) detach(previous.get());
    return slot;
  }
  // Removes the member under `key` and returns it; null when absent.
  Ptr<T> deleteMember(const K& key) {
    auto found = members_.find(key);
    if (found == members_.end()) return Ptr<T>();
    Ptr<T> removed = std::move(found->second);
    members_.erase(found);
    ++removals_;
    detach(removed.get());
    return removed;
  }
  void deleteAll() {
    while (!members_.empty()) deleteMember(members_.begin()->first);
  }
  std::size_t count() const { return members_.size(); }
  bool empty() const { return members_.empty(); }
  const Members& members() const { return members_; }

  class Iterator {
   public:
    Iterator(const Collection* collection, typename Members::const_iterator at) : collection_(collection) {
      load(at);
    }
    const K& key() const { return key_; }
    const Ptr<T>& operator*() const { return current_; }
    const Ptr<T>& operator->() const { return current_; }
    Iterator& operator++() {
      if (collection_->removals_ == removalsSeen_) {
        load(std::next(at_));
      } else {
        load(collection_->members_.upper_bound(key_));
      }
      return *this;
    }
    bool operator!=(std::nullptr_t) const { return static_cast<bool>(current_); }
    bool done() const { return !current_; }

   private:
    void load(typename Members::const_iterator at) {
      at_ = at;
      removalsSeen_ = collection_->removals_;
      if (at == collection_->members_.end()) {
        current_ = nullptr;
      } else {
        key_ = at->first;
        current_ = at->second;
      }
    }
    const Collection* collection_;
    typename Members::const_iterator at_;
    std::uint64_t removalsSeen_ = 0;
    K key_{};
    Ptr<T> current_;
  };

  Iterator begin() const { return Iterator(this, members_.begin()); }
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

  Members members_;
  // Counts removals: an iterator steps on directly while it has seen them all.
  std::uint64_t removals_ = 0;
  const Entity* owner_;
  const char* attribute_;
};

}  // namespace Vex
