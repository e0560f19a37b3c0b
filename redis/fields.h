#pragma once
/// \class hubstore::redis::Fields
/// The fields of one Redis hash, name to value, in
/// name order, in one sorted array: a switch's hash of fifty group states is
/// one allocation, where a tree would make fifty nodes, and the store reads
/// tens of thousands of such hashes when an agent starts. The interface is the
/// part of std::map's that the store uses.
///
///     Fields fields{{"name", "g1"}, {"[00:1c:73:00:00:01]", "true"}};
///     fields["warm"] = "true";
///     if (auto found = fields.find("name"); found != fields.end()) ...
///
/// Adding a field moves the fields after it, so a hash is best built whole
/// (Fields::inOrder) and then read.

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <ostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace hubstore::redis {

class Fields {
 public:
  /// A field: name and value.
  using value_type = std::pair<std::string, std::string>;
  /// Visits the fields in name order.
  using const_iterator = std::vector<value_type>::const_iterator;

  /// No fields.
  Fields() = default;
  /// As a map would hold them: in name order, the first of equal names kept.
  Fields(std::initializer_list<value_type> fields) : fields_(fields) {
    std::stable_sort(fields_.begin(), fields_.end(), byName);
    dropRepeated();
  }
  /// Fields already in name order, without repeats (not checked).
  static Fields inOrder(std::vector<value_type> fields) {
    Fields inOrder;
    inOrder.fields_ = std::move(fields);
    return inOrder;
  }
  /// The fields in name order, as a map's. Adding or erasing a field
  /// invalidates every iterator.
  ///@{
  const_iterator begin() const { return fields_.begin(); }
  const_iterator end() const { return fields_.end(); }
  ///@}
  /// The number of fields.
  std::size_t size() const { return fields_.size(); }
  /// Whether there is none.
  bool empty() const { return fields_.empty(); }

  /// The field `name`, or end().
  const_iterator find(std::string_view name) const {
    auto at = lowerBound(name);
    return at != fields_.end() && at->first == name ? at : fields_.end();
  }
  /// 1 when there is a field `name`, else 0.
  std::size_t count(std::string_view name) const { return find(name) != end() ? 1 : 0; }
  /// The value of `name`; raises std::out_of_range when absent.
  const std::string& at(std::string_view name) const {
    auto found = find(name);
    if (found == end()) throw std::out_of_range("no field " + std::string(name));
    return found->second;
  }
  /// The value of `name`, added empty when absent.
  std::string& operator[](std::string_view name) {
    auto at = fields_.begin() + (lowerBound(name) - fields_.cbegin());
    if (at == fields_.end() || at->first != name) at = fields_.emplace(at, std::string(name), std::string());
    return at->second;
  }
  /// Adds the field unless one of that name is there; whether it was added.
  bool emplace(std::string name, std::string value) {
    auto at = fields_.begin() + (lowerBound(name) - fields_.cbegin());
    if (at != fields_.end() && at->first == name) return false;
    fields_.emplace(at, std::move(name), std::move(value));
    return true;
  }
  /// Removes the field `name`; how many were removed (0 or 1).
  std::size_t erase(std::string_view name) {
    auto found = find(name);
    if (found == end()) return 0;
    fields_.erase(found);
    return 1;
  }

  /// The same fields with the same values.
  friend bool operator==(const Fields&, const Fields&) = default;
  /// Prints "{ name=value ... }", for test failures.
  friend std::ostream& operator<<(std::ostream& out, const Fields& fields) {
    out << "{";
    for (const auto& [name, value] : fields) out << " " << name << "=" << value;
    return out << " }";
  }

 private:
  const_iterator lowerBound(std::string_view name) const {
    return std::lower_bound(fields_.begin(), fields_.end(), name,
                            [](const value_type& field, std::string_view key) { return field.first < key; });
  }
  static bool byName(const value_type& a, const value_type& b) { return a.first < b.first; }
  void dropRepeated() {
    fields_.erase(std::unique(fields_.begin(), fields_.end(),
                              [](const value_type& a, const value_type& b) { return a.first == b.first; }),
                  fields_.end());
  }

  std::vector<value_type> fields_;
};

}  // namespace hubstore::redis
