#pragma once
// Vex::ValueMap<K, V>: a map of plain values, ordered by key, whose iteration
// survives changes made while it runs (each step looks up the first key after
// the current one, as Vex::Collection does).

#include <cstddef>
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
  bool valueDel(const K& key) { return entries_.erase(key) > 0; }
  void clear() { entries_.clear(); }
  std::size_t count() const { return entries_.size(); }
  bool empty() const { return entries_.empty(); }
  const Entries& entries() const { return entries_; }

  struct Entry {
    K key;
    V value;
  };

  class Iterator {
   public:
    Iterator(const Entries* entries, typename Entries::const_iterator at) : entries_(entries) { load(at); }
    const Entry& operator*() const { return current_; }
    const Entry* operator->() const { return &current_; }
    Iterator& operator++() {
      load(entries_->upper_bound(current_.key));
      return *this;
    }
    bool operator!=(std::nullptr_t) const { return !done_; }
    bool done() const { return done_; }

   private:
    void load(typename Entries::const_iterator at) {
      done_ = at == entries_->end();
      if (!done_) current_ = Entry{at->first, at->second};
    }
    const Entries* entries_;
    Entry current_{};
    bool done_ = true;
  };

  Iterator begin() const { return Iterator(&entries_, entries_.begin()); }
  std::nullptr_t end() const { return nullptr; }

 private:
  Entries entries_;
};

}  // namespace Vex
