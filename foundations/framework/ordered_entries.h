#pragma once
/// \class Vex::OrderedEntries
/// The core of every ordered container (Collection, FlatCollection, ValueMap,
/// FlatValueMap): entries kept in key order by a storage policy (TreeStorage or
/// SortedVectorStorage), and the one iterator that survives any change of the
/// container made while it runs.
///
/// The iterator holds a copy of the current key and value (for a collection, a
/// counted reference to the member), so the entry under it, or any other, may
/// be removed, and entries may be added; an added entry is visited if its key
/// sorts after the current one. A step is a plain step to the next position
/// while no change moved an entry since the last step; otherwise it is one
/// ordered lookup of the first key after the current one.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>

namespace Vex {

template <class Storage>
class OrderedEntries {
 public:
  /// The key type, the value type (for a collection, a counted member), and the
  /// storage's own item sequence.
  ///@{
  using Key = typename Storage::Key;
  using Value = typename Storage::Value;
  using Items = typename Storage::Items;
  ///@}

  /// One entry, as an iterator holds its copy.
  struct Entry {
    /// The entry's key.
    Key key;
    /// The entry's value.
    Value value;
  };
  /// What dereferencing an iterator yields: a collection's iterator yields the
  /// member, a value map's the whole entry.
  enum class Yields { value, entry };

  /// Walks the entries in key order and survives any change of the container
  /// made while it runs (see the class). Ends when `it != nullptr` is false.
  template <Yields yields>
  class Iterator {
   public:
    /// Starts at the first entry of `entries`, which must outlive the iterator.
    explicit Iterator(const OrderedEntries* entries) : entries_(entries) { load(entries->storage_.first()); }
    /// The current entry's key.
    const Key& key() const { return current_.key; }
    /// The current member (a collection) or the whole entry (a value map).
    ///@{
    decltype(auto) operator*() const {
      if constexpr (yields == Yields::value) {
        return (current_.value);
      } else {
        return (current_);
      }
    }
    decltype(auto) operator->() const {
      if constexpr (yields == Yields::value) {
        return (current_.value);
      } else {
        return &current_;
      }
    }
    ///@}
    /// Steps to the first entry after the current one.
    Iterator& operator++() {
      const Storage& storage = entries_->storage_;
      load(entries_->moves_ == movesSeen_ ? storage.next(at_) : storage.after(current_.key));
      return *this;
    }
    /// Whether the iterator is still on an entry: `it != nullptr` in loops.
    bool operator!=(std::nullptr_t) const { return !done_; }

   private:
    void load(typename Storage::Position at) {
      const Storage& storage = entries_->storage_;
      at_ = at;
      movesSeen_ = entries_->moves_;
      done_ = storage.isEnd(at);
      if (done_) {
        current_.value = Value();  // lets go of the last member
      } else {
        current_.key = storage.keyAt(at);
        current_.value = storage.valueAt(at);
      }
    }
    const OrderedEntries* entries_;
    typename Storage::Position at_{};
    std::uint64_t movesSeen_ = 0;
    Entry current_{};
    bool done_ = true;
  };

  /// The value under `key`, or null; valid until the container next changes.
  const Value* find(const Key& key) const {
    auto at = storage_.find(key);
    return storage_.isEnd(at) ? nullptr : &storage_.valueAt(at);
  }
  /// Inserts `value` under `key` when the key is new; otherwise leaves `value`
  /// untouched. Returns the key's slot and whether it is new.
  std::pair<Value&, bool> tryEmplace(const Key& key, Value&& value) {
    auto [slot, inserted, movedOthers] = storage_.place(key, std::move(value));
    if (movedOthers) ++moves_;
    return {slot, inserted};
  }
  /// Removes the entry under `key` and returns its value; nothing when absent.
  std::optional<Value> take(const Key& key) {
    auto at = storage_.find(key);
    if (storage_.isEnd(at)) return std::nullopt;
    return takeAt(at);
  }
  /// Removes one entry, in the order the storage clears in best; the
  /// container must not be empty.
  Value takeNextToClear() { return takeAt(storage_.nextToClear()); }
  /// Removes every entry.
  void clear() {
    storage_.clear();
    ++moves_;
  }
  /// Prepares room for `count` entries, where the storage can.
  void reserve(std::size_t count) { storage_.reserve(count); }
  /// The number of entries.
  std::size_t count() const { return storage_.size(); }
  /// Whether there are no entries.
  bool empty() const { return storage_.size() == 0; }
  /// The storage's items, in key order.
  const Items& items() const { return storage_.items(); }

 private:
  Value takeAt(typename Storage::Position at) {
    Value value = storage_.takeAt(at);
    ++moves_;
    return value;
  }

  Storage storage_;
  // Counts the changes that moved entries (every removal, and the insertions
  // the storage makes by moving others): an iterator steps to the next
  // position while it has seen them all.
  std::uint64_t moves_ = 0;
};

}  // namespace Vex
