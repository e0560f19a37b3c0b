#pragma once
// Vex::FlatValueMap<K, V>: Vex::ValueMap's interface over one sorted array,
// for sets that are built once and mostly read or dropped whole, such as the
// switches of a filter: an entry costs its key and value (16 bytes for a
// switch name and a flag) instead of a tree node, a lookup is a binary search
// of contiguous memory, and dropping the map frees one block instead of a
// node per entry. Adding in key order is an append; other additions and
// removals move the later entries, which stays cheap up to some thousands of
// entries (a switch fleet's size) and grows with the square beyond.
//
// Iteration behaves as ValueMap's: in key order, surviving any change made
// while it runs. A step is the next position while no change moved an entry
// since the last one, and one binary search otherwise.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace Vex {

template <class K, class V>
class FlatValueMap {
 public:
  using Entries = std::vector<std::pair<K, V>>;

  const V* value(const K& key) const {
    auto found = lowerBound(key);
    return found != entries_.end() && found->first == key ? &found->second : nullptr;
  }
  bool contains(const K& key) const { return value(key) != nullptr; }
  // Stores `value`; returns whether the map changed.
  bool valueIs(const K& key, V value) {
    auto at = entries_.begin() + (lowerBound(key) - entries_.cbegin());
    if (at == entries_.end()) {
      entries_.emplace_back(key, std::move(value));
      return true;
    }
    if (at->first == key) {
      if (at->second == value) return false;
      at->second = std::move(value);
      return true;
    }
    entries_.emplace(at, key, std::move(value));
    ++moves_;
    return true;
  }
  // Returns whether an entry was removed.
  bool valueDel(const K& key) {
    auto found = lowerBound(key);
    if (found == entries_.end() || !(found->first == key)) return false;
    entries_.erase(found);
    ++moves_;
    return true;
  }
  void clear() {
    entries_.clear();
    ++moves_;
  }
  std::size_t count() const { return entries_.size(); }
  bool empty() const { return entries_.empty(); }
  const Entries& entries() const { return entries_; }

  struct Entry {
    K key;
    V value;
  };

  class Iterator {
   public:
    Iterator(const FlatValueMap* map, std::size_t at) : map_(map) { load(at); }
    const Entry& operator*() const { return current_; }
    const Entry* operator->() const { return &current_; }
    Iterator& operator++() {
      if (map_->moves_ == movesSeen_) {
        load(at_ + 1);
      } else {
        const Entries& entries = map_->entries_;
        auto next = std::upper_bound(entries.begin(), entries.end(), current_.key,
                                     [](const K& key, const std::pair<K, V>& entry) { return key < entry.first; });
        load(static_cast<std::size_t>(next - entries.begin()));
      }
      return *this;
    }
    bool operator!=(std::nullptr_t) const { return !done_; }
    bool done() const { return done_; }

   private:
    void load(std::size_t at) {
      at_ = at;
      movesSeen_ = map_->moves_;
      done_ = at >= map_->entries_.size();
      if (!done_) current_ = Entry{map_->entries_[at].first, map_->entries_[at].second};
    }
    const FlatValueMap* map_;
    std::size_t at_ = 0;
    std::uint64_t movesSeen_ = 0;
    Entry current_{};
    bool done_ = true;
  };

  Iterator begin() const { return Iterator(this, 0); }
  std::nullptr_t end() const { return nullptr; }

 private:
  typename Entries::const_iterator lowerBound(const K& key) const {
    // A map filled in key order is asked for keys past its end.
    if (entries_.empty() || entries_.back().first < key) return entries_.end();
    return std::lower_bound(entries_.begin(), entries_.end(), key,
                            [](const std::pair<K, V>& entry, const K& k) { return entry.first < k; });
  }

  Entries entries_;
  // Counts changes that moved entries (all but appends): an iterator steps
  // to the next position while it has seen them all.
  std::uint64_t moves_ = 0;
};

}  // namespace Vex
