#pragma once
// Vex::ValueMap<K, V>: a map of plain values, ordered by key, whose iteration
// survives changes made while it runs: each step goes to the first key after
// the current one, a plain step while nothing was removed since the last one,
// as Vex::Collection does.

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <map>
#include <utility>

namespace Vex {

template <class K, class V>
class ValueMap {
 public:
  using Entries = std::map<K, V>;

  const V* value(const K& key) const {
    auto found = entries_.find(key);
    return found == entries_.end() ? nullptr : &found->second;
  }
  bool contains(const K& key) const { return entries_.find(key) != entries_.end(); }
  // Stores `value`; returns whether the map changed.
  bool valueIs(const K& key, V value) {
    auto [at, inserted] = entries_.try_emplace(key, value);
    if (inserted) return true;
    if (at->second == value) return false;
    at->second = std::move(value);
    return true;
  }
  // Returns whether an entry was removed.
  bool valueDel(const K& key) {
    if (entries_.erase(key) == 0) return false;
    ++removals_;
    return true;
  }
  void clear() {
    entries_.clear();
    ++removals_;
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
    Iterator(const ValueMap* map, typename Entries::const_iterator at) : map_(map) { load(at); }
    const Entry& operator*() const { return current_; }
    const Entry* operator->() const { return &current_; }
    Iterator& operator++() {
      if (map_->removals_ == removalsSeen_) {
        load(std::next(at_));
      } else {
        load(map_->entries_.upper_bound(current_.key));
      }
      return *this;
    }
    bool operator!=(std::nullptr_t) const { return !done_; }
    bool done() const { return done_; }

   private:
    void load(typename Entries::const_iterator at) {
      at_ = at;
      removalsSeen_ = map_->removals_;
      done_ = at == map_->entries_.end();
      if (!done_) current_ = Entry{at->first, at->second};
    }
    const ValueMap* map_;
    typename Entries::const_iterator at_;
    std::uint64_t removalsSeen_ = 0;
    Entry current_{};
    bool done_ = true;
  };

  Iterator begin() const { return Iterator(this, entries_.begin()); }
  std::nullptr_t end() const { return nullptr; }

 private:
  Entries entries_;
  // Counts removals: an iterator steps on directly while it has seen them all.
  std::uint64_t removals_ = 0;
};

namespace detail {
template <class K>
int compareKeys(const K& a, const K& b) {
  if constexpr (requires { a.compare(b); }) {
    return a.compare(b);
  } else {
    return a < b ? -1 : (b < a ? 1 : 0);
  }
}
}  // namespace detail

// The first key of `wanted`, in key order, that `held` lacks; null when
// `held` has them all. Both are walked side by side, one comparison a step;
// when `held` runs far ahead (it holds many keys `wanted` lacks) a step
// falls back to a lookup, so the cost stays within that of one lookup per
// key. Neither map may change during the call.
template <class K, class V, class W>
const K* firstMissingKey(const ValueMap<K, V>& wanted, const ValueMap<K, W>& held) {
  constexpr int stepsBeforeLookup = 8;
  const auto& have = held.entries();
  auto at = have.begin();
  for (const auto& [key, value] : wanted.entries()) {
    int order = -1;
    for (int steps = 0; at != have.end(); ++at, ++steps) {
      if (steps == stepsBeforeLookup) {
        at = have.lower_bound(key);
        order = at == have.end() ? 1 : detail::compareKeys(at->first, key);
        break;
      }
      order = detail::compareKeys(at->first, key);
      if (order >= 0) break;
    }
    if (at == have.end() || order != 0) return &key;
    ++at;
  }
  return nullptr;
}

}  // namespace Vex
