#pragma once
// Vex::FlatCollection<K, T>: Vex::Collection's interface over one sorted
// array, for the many small collections of a fleet (a switch's reactors, one
// per group): a member costs its key and its pointer, 16 bytes, instead of a
// tree node, and lookups are a binary search of contiguous memory. Adding in
// key order is an append; other additions and removals move the later
// members, so keep it to collections of tens of members.
//
// Iteration behaves as Collection's: in key order, surviving any change made
// while it runs (the iterator holds the current key and member). A step is
// the next position while no change moved a member since the last one, and
// one binary search for the first key after the current one otherwise.
//
// Members that are entities know their parent while they are members.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>
#include <vector>

#include <hubstore/foundations/framework/entity.h>
#include <hubstore/foundations/framework/ptr.h>

namespace Vex {

template <class K, class T>
class FlatCollection {
 public:
  using Member = std::pair<K, Ptr<T>>;

  explicit FlatCollection(const Entity* owner = nullptr, const char* attribute = nullptr)
      : owner_(owner), attribute_(attribute) {}
  FlatCollection(const FlatCollection&) = delete;
  FlatCollection& operator=(const FlatCollection&) = delete;
  ~FlatCollection() { deleteAll(); }

  Ptr<T> member(const K& key) const { return Ptr<T>(memberRaw(key)); }
  T* memberRaw(const K& key) const {
    auto found = lowerBound(key);
    return found != members_.end() && found->first == key ? found->second.get() : nullptr;
  }
  // Inserts `value` under `key`, replacing (and detaching) a previous member.
  const Ptr<T>& newMember(const K& key, Ptr<T> value) {
    attach(value.get());
    auto at = members_.begin() + (lowerBound(key) - members_.cbegin());
    if (at == members_.end()) {
      members_.emplace_back(key, std::move(value));
      return members_.back().second;
    }
    if (at->first == key) {
      Ptr<T> previous = std::exchange(at->second, std::move(value));
      const Ptr<T>& slot = at->second;
      if (previous && previous != slot) detach(previous.get());
      return slot;
    }
    ++moves_;
    return members_.emplace(at, key, std::move(value))->second;
  }
  // Removes the member under `key` and returns it; null when absent.
  Ptr<T> deleteMember(const K& key) {
    auto found = lowerBound(key);
    if (found == members_.end() || !(found->first == key)) return Ptr<T>();
    Ptr<T> removed = std::move(members_[static_cast<std::size_t>(found - members_.cbegin())].second);
    members_.erase(found);
    ++moves_;
    detach(removed.get());
    return removed;
  }
  // Members leave last key first, so that none moves.
  void deleteAll() {
    while (!members_.empty()) {
      Ptr<T> removed = std::move(members_.back().second);
      members_.pop_back();
      detach(removed.get());
    }
  }
  // Room for `count` members without a reallocation.
  void reserve(std::size_t count) { members_.reserve(count); }
  std::size_t count() const { return members_.size(); }
  bool empty() const { return members_.empty(); }
  const std::vector<Member>& members() const { return members_; }

  class Iterator {
   public:
    Iterator(const FlatCollection* collection, std::size_t at) : collection_(collection) { load(at); }
    const K& key() const { return key_; }
    const Ptr<T>& operator*() const { return current_; }
    const Ptr<T>& operator->() const { return current_; }
    Iterator& operator++() {
      if (collection_->moves_ == movesSeen_) {
        load(at_ + 1);
      } else {
        const auto& members = collection_->members_;
        auto next = std::upper_bound(members.begin(), members.end(), key_,
                                     [](const K& key, const Member& member) { return key < member.first; });
        load(static_cast<std::size_t>(next - members.begin()));
      }
      return *this;
    }
    bool operator!=(std::nullptr_t) const { return static_cast<bool>(current_); }
    bool done() const { return !current_; }

   private:
    void load(std::size_t at) {
      at_ = at;
      movesSeen_ = collection_->moves_;
      if (at >= collection_->members_.size()) {
        current_ = nullptr;
      } else {
        key_ = collection_->members_[at].first;
        current_ = collection_->members_[at].second;
      }
    }
    const FlatCollection* collection_;
    std::size_t at_ = 0;
    std::uint64_t movesSeen_ = 0;
    K key_{};
    Ptr<T> current_;
  };

  Iterator begin() const { return Iterator(this, 0); }
  std::nullptr_t end() const { return nullptr; }

 private:
  typename std::vector<Member>::const_iterator lowerBound(const K& key) const {
    // A collection filled in key order is asked for keys past its end.
    if (members_.empty() || members_.back().first < key) return members_.end();
    return std::lower_bound(members_.begin(), members_.end(), key,
                            [](const Member& member, const K& k) { return member.first < k; });
  }
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

  std::vector<Member> members_;
  // Counts changes that moved members (all but appends): an iterator steps to
  // the next position while it has seen them all.
  std::uint64_t moves_ = 0;
  const Entity* owner_;
  const char* attribute_;
};

}  // namespace Vex
