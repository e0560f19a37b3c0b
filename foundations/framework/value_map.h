#pragma once
/// \class Vex::ValueMap
/// A map of plain values, ordered by key, over tree storage; Vex::FlatValueMap
/// is the same map over a sorted array. Lookup, insertion order and iteration
/// are OrderedEntries': iteration is in key order and survives any change made
/// while it runs.

#include <cstddef>
#include <utility>

#include <hubstore/foundations/framework/ordered_entries.h>
#include <hubstore/foundations/framework/tree_storage.h>

namespace Vex {

template <class K, class V, template <class, class> class Storage = TreeStorage>
class ValueMap {
  using Core = OrderedEntries<Storage<K, V>>;

 public:
  /// The entries as the storage holds them, in key order.
  using Entries = typename Core::Items;
  /// One entry, as the iterator yields it.
  using Entry = typename Core::Entry;
  /// Walks the entries in key order; see OrderedEntries::Iterator.
  using Iterator = typename Core::template Iterator<Core::Yields::entry>;

  /// The value under `key`, or null; valid until the map next changes.
  const V* value(const K& key) const { return core_.find(key); }
  /// Whether `key` has an entry.
  bool contains(const K& key) const { return core_.find(key) != nullptr; }
  /// Stores `value`; returns whether the map changed.
  bool valueIs(const K& key, V value) {
    auto [slot, inserted] = core_.tryEmplace(key, std::move(value));
    if (inserted) return true;
    if (slot == value) return false;
    slot = std::move(value);
    return true;
  }
  /// Removes the entry under `key`; returns whether there was one.
  bool valueDel(const K& key) { return core_.take(key).has_value(); }
  /// Removes every entry.
  void clear() { core_.clear(); }
  /// The number of entries.
  std::size_t count() const { return core_.count(); }
  /// Whether there are no entries.
  bool empty() const { return core_.empty(); }
  /// The entries, in key order.
  const Entries& entries() const { return core_.items(); }

  /// An iterator at the first entry; loops run while `it != end()`.
  Iterator begin() const { return Iterator(&core_); }
  /// The end, as the iterator compares with it.
  std::nullptr_t end() const { return nullptr; }

 private:
  Core core_;
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

/// The first key of `wanted`, in key order, that `held` lacks; null when
/// `held` has them all. Both are walked side by side, one comparison a step;
/// when `held` runs far ahead (it holds many keys `wanted` lacks) a step
/// falls back to a lookup, so the cost stays within that of one lookup per
/// key. Neither map may change during the call.
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
