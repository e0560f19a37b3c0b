#pragma once
/// \file
/// Reference counting shared by every counted object and by Vex::String.
///
/// Counts are plain integers: the library runs on one event-loop thread and a
/// plain increment costs a fraction of an atomic one. An agent that hands
/// counted objects to other threads turns on the process-wide switch
/// `threadSafePointersIs(true)` before it creates any of them; the counts then
/// use atomic read-modify-write operations. The switch is read on every count
/// change, so the cost when it is off is one well-predicted branch.

#include <atomic>
#include <cstdint>

namespace Vex {

/// \cond internal
namespace detail {
extern bool threadSafePointers;
}
/// \endcond

/// Whether counts use atomic operations (off by default).
inline bool threadSafePointers() { return detail::threadSafePointers; }

/// Turns atomic counting on or off, for the whole process. Flip only while no
/// counted object is shared between threads.
void threadSafePointersIs(bool on);

/// Adds one to `count`, atomically while threadSafePointers() is on.
inline void countIncrement(std::uint32_t& count) {
  if (detail::threadSafePointers) [[unlikely]] {
    std::atomic_ref<std::uint32_t>(count).fetch_add(1, std::memory_order_relaxed);
  } else {
    ++count;
  }
}

/// Takes one from `count`, atomically while threadSafePointers() is on, and
/// returns true when the count reached zero.
inline bool countDecrement(std::uint32_t& count) {
  if (detail::threadSafePointers) [[unlikely]] {
    return std::atomic_ref<std::uint32_t>(count).fetch_sub(1, std::memory_order_acq_rel) == 1;
  }
  return --count == 0;
}

}  // namespace Vex
