#pragma once
// Vex::TreeStorage<K, V>: the storage policy of the ordered containers that
// keeps each entry in a node of a balanced tree. Insertions move no entry, so
// a position stays valid through them (only its own removal ends it), and a
// key keeps its address while its entry lives. Suits large or often-changed
// containers, and anything that keeps pointers to keys.

#include <cstddef>
#include <iterator>
#include <map>
#include <tuple>
#include <utility>

namespace Vex {

template <class K, class V>
class TreeStorage {
 public:
  using Key = K;
  using Value = V;
  using Items = std::map<K, V>;
  using Position = typename Items::const_iterator;
  // The slot of the key, whether it is new, whether other entries moved.
  using Placed = std::tuple<V&, bool, bool>;

  const Items& items() const { return items_; }
  std::size_t size() const { return items_.size(); }
  Position first() const { return items_.begin(); }
  Position next(Position at) const { return std::next(at); }
  bool isEnd(Position at) const { return at == items_.end(); }
  const K& keyAt(Position at) const { return at->first; }
  const V& valueAt(Position at) const { return at->second; }

  Position find(const K& key) const { return items_.find(key); }
  // The first entry whose key sorts after `key`.
  Position after(const K& key) const { return items_.upper_bound(key); }
  // Inserts `value` under `key` unless the key is held; `value` is moved from
  // only when it is inserted.
  Placed place(const K& key, V&& value) {
    auto [at, inserted] = items_.try_emplace(key, std::move(value));
    return {at->second, inserted, false};
  }
  V takeAt(Position at) {
    auto mutableAt = items_.erase(at, at);
    V value = std::move(mutableAt->second);
    items_.erase(mutableAt);
    return value;
  }
  // Clearing one by one goes in key order.
  Position nextToClear() const { return items_.begin(); }
  void clear() { items_.clear(); }

 private:
  Items items_;
};

}  // namespace Vex
