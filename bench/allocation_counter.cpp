#include "allocation_counter.h"

#include <malloc.h>

#include <cstdlib>
#include <new>

namespace bench {
namespace {
AllocationTotals totals;

void release(void* p) noexcept {
  if (p) totals.liveBytes -= static_cast<std::int64_t>(malloc_usable_size(p));
  std::free(p);
}
}  // namespace

const AllocationTotals& allocationTotals() { return totals; }
void resetPeak() { totals.peakBytes = totals.liveBytes; }

}  // namespace bench

void* operator new(std::size_t size) {
  void* p = std::malloc(size ? size : 1);
  if (!p) throw std::bad_alloc();
  auto& totals = bench::totals;
  totals.liveBytes += static_cast<std::int64_t>(malloc_usable_size(p));
  if (totals.liveBytes > totals.peakBytes) totals.peakBytes = totals.liveBytes;
  ++totals.allocations;
  return p;
}
void operator delete(void* p) noexcept { bench::release(p); }
void operator delete(void* p, std::size_t) noexcept { bench::release(p); }
