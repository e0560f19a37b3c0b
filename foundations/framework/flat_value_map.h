#pragma once
/// \file
/// Vex::FlatValueMap<K, V>: Vex::ValueMap over one sorted array, for sets that
/// are built once and mostly read or dropped whole, such as the switches of a
/// filter: an entry costs its key and value (16 bytes for a switch name and a
/// flag) instead of a tree node, a lookup is a binary search of contiguous
/// memory, and dropping the map frees one block instead of a node per entry.

#include <hubstore/foundations/framework/sorted_vector_storage.h>
#include <hubstore/foundations/framework/value_map.h>

namespace Vex {

/// ValueMap over one sorted array (SortedVectorStorage), for maps built once
/// and mostly read or dropped whole: see the file's description.
template <class K, class V>
using FlatValueMap = ValueMap<K, V, SortedVectorStorage>;

}  // namespace Vex
