#pragma once
// Allocation counting for the benchmarks: this binary replaces operator new
// and operator delete, so every byte the library allocates through them is
// counted (by the allocator's usable size, what the process really holds).
// Vex::String buffers come from malloc directly and are not counted.
//
//   const bench::AllocationMark mark;
//   ...work...
//   mark.bytesKept();  mark.peakBytes();  mark.allocations();

#include <cstdint>

namespace bench {

struct AllocationTotals {
  std::int64_t liveBytes = 0;
  std::int64_t peakBytes = 0;  // highest liveBytes since the last resetPeak()
  std::int64_t allocations = 0;
};

const AllocationTotals& allocationTotals();
// Starts a new peak at the current live size.
void resetPeak();

class AllocationMark {
 public:
  AllocationMark() : start_(allocationTotals()) { resetPeak(); }
  std::int64_t bytesKept() const { return allocationTotals().liveBytes - start_.liveBytes; }
  std::int64_t peakBytes() const { return allocationTotals().peakBytes - start_.liveBytes; }
  std::int64_t allocations() const { return allocationTotals().allocations - start_.allocations; }

 private:
  AllocationTotals start_;
};

}  // namespace bench
