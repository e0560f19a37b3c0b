#pragma once
/// \file
/// Vex::FlatCollection<K, T>: Vex::Collection over one sorted array, for the
/// many small collections of a fleet (a switch's reactors, one per group): a
/// member costs its key and its pointer, 16 bytes, instead of a tree node, and
/// lookups are a binary search of contiguous memory. Adding in key order is an
/// append; other additions and removals move the later members, so keep it to
/// collections of tens of members.

#include <hubstore/foundations/framework/collection.h>
#include <hubstore/foundations/framework/sorted_vector_storage.h>

namespace Vex {

/// Collection over one sorted array (SortedVectorStorage), for collections of
/// tens of members: see the file's description.
template <class K, class T>
using FlatCollection = Collection<K, T, SortedVectorStorage>;

}  // namespace Vex
