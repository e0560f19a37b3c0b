#pragma once
/// \class Vex::TreeStorage
/// The storage policy of the ordered containers that keeps each entry in a node
/// of a balanced tree. Insertions move no entry, so a position stays valid
/// through them (only its own removal ends it), and a key keeps its address
/// while its entry lives. Suits large or often-changed containers, and anything
/// that keeps pointers to keys.

#include <cstddef>
#include <iterator>
#include <map>
#include <tuple>
#include <utility>

namespace Vex {

template <class K, class V>
class TreeStorage {
 public:
  /// The key and value types, the tree of entries, and a position: an iterator
  /// into it, valid until its own entry is removed.
  ///@{
  using Key = K;
  using Value = V;
  using Items = std::map<K, V>;
  using Position = typename Items::const_iterator;
  ///@}
  /// The slot of the key, whether it is new, whether other entries moved.
  using Placed = std::tuple<V&, bool, bool>;

  /// The entries, in key order.
  const Items& items() const { return items_; }
  /// The number of entries.
  std::size_t size() const { return items_.size(); }
  /// The position of the first entry, the one after `at`, and whether a
  /// position is past the last entry.
  ///@{
  Position first() const { return items_.begin(); }
  Position next(Position at) const { return std::next(at); }
  bool isEnd(Position at) const { return at == items_.end(); }
  ///@}
  /// The key and value at `at`, which must be an entry.
  ///@{
  const K& keyAt(Position at) const { return at->first; }
  const V& valueAt(Position at) const { return at->second; }
  ///@}

  /// The position of `key`, or the end when absent.
  Position find(const K& key) const { return items_.find(key); }
  /// The first entry whose key sorts after `key`.
  Position after(const K& key) const { return items_.upper_bound(key); }
  /// Inserts `value` under `key` unless the key is held; `value` is moved from
  /// only when it is inserted.
  Placed place(const K& key, V&& value) {
    auto [at, inserted] = items_.try_emplace(key, std::move(value));
    return {at->second, inserted, false};
  }
  /// Removes the entry at `at` and returns its value; no other entry moves.
  V takeAt(Position at) {
    auto mutableAt = items_.erase(at, at);
    V value = std::move(mutableAt->second);
    items_.erase(mutableAt);
    return value;
  }
  /// The entry to remove next when clearing one by one: the first.
  Position nextToClear() const { return items_.begin(); }
  /// Removes every entry.
  void clear() { items_.clear(); }

 private:
  Items items_;
};

}  // namespace Vex
