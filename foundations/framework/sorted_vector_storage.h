#pragma once
/// \class Vex::SortedVectorStorage
/// The storage policy of the ordered containers that keeps the entries in one
/// array sorted by key. An entry costs its key and value instead of a tree
/// node, a lookup is a binary search of contiguous memory, and dropping the
/// container frees one block. Adding in key order is an append; other additions
/// and every removal move the later entries, which stays cheap up to some
/// thousands of entries and grows with the square beyond.

#include <algorithm>
#include <cstddef>
#include <tuple>
#include <utility>
#include <vector>

namespace Vex {

template <class K, class V>
class SortedVectorStorage {
 public:
  /// The key and value types, the sorted array of entries, and a position: an
  /// index into it.
  ///@{
  using Key = K;
  using Value = V;
  using Items = std::vector<std::pair<K, V>>;
  using Position = std::size_t;
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
  Position first() const { return 0; }
  Position next(Position at) const { return at + 1; }
  bool isEnd(Position at) const { return at >= items_.size(); }
  ///@}
  /// The key and value at `at`, which must be an entry.
  ///@{
  const K& keyAt(Position at) const { return items_[at].first; }
  const V& valueAt(Position at) const { return items_[at].second; }
  ///@}

  /// The position of `key`, or the end when absent.
  Position find(const K& key) const {
    const Position at = lowerBound(key);
    return at < items_.size() && items_[at].first == key ? at : items_.size();
  }
  /// The first entry whose key sorts after `key`.
  Position after(const K& key) const {
    auto found = std::upper_bound(items_.begin(), items_.end(), key,
                                  [](const K& k, const std::pair<K, V>& item) { return k < item.first; });
    return static_cast<Position>(found - items_.begin());
  }
  /// Inserts `value` under `key` unless the key is held; `value` is moved from
  /// only when it is inserted.
  Placed place(const K& key, V&& value) {
    const Position at = lowerBound(key);
    if (at == items_.size()) {
      items_.emplace_back(key, std::move(value));
      return {items_.back().second, true, false};
    }
    if (items_[at].first == key) return {items_[at].second, false, false};
    auto placed = items_.emplace(items_.begin() + static_cast<std::ptrdiff_t>(at), key, std::move(value));
    return {placed->second, true, true};
  }
  /// Removes the entry at `at` and returns its value; the later entries move.
  V takeAt(Position at) {
    V value = std::move(items_[at].second);
    items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(at));
    return value;
  }
  /// The entry to remove next when clearing one by one: the last, so that no
  /// entry moves.
  Position nextToClear() const { return items_.size() - 1; }
  /// Removes every entry.
  void clear() { items_.clear(); }
  /// Reserves room for `count` entries.
  void reserve(std::size_t count) { items_.reserve(count); }

 private:
  Position lowerBound(const K& key) const {
    // A container filled in key order is asked for keys past its end.
    if (items_.empty() || items_.back().first < key) return items_.size();
    auto found = std::lower_bound(items_.begin(), items_.end(), key,
                                  [](const std::pair<K, V>& item, const K& k) { return item.first < k; });
    return static_cast<Position>(found - items_.begin());
  }

  Items items_;
};

}  // namespace Vex
