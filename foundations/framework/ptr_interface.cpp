#include <hubstore/foundations/framework/ptr_interface.h>

#include <hubstore/foundations/framework/assert.h>
#include <hubstore/foundations/framework/type_descriptor.h>

namespace Vex {

namespace detail {
bool threadSafePointers = false;
}

void threadSafePointersIs(bool on) { detail::threadSafePointers = on; }

void PtrInterface::allocationTrackedIs(const TypeDescriptor& type) {
  ++type.live_;
  serialNumber_ = ++type.created_;
  trackedType_ = &type;
}

void PtrInterface::finishUse() const {
  releasedInUse_ = false;
  if (references_ == 0) handleZeroRef();
}

PtrInterface::~PtrInterface() {
  if (trackedType_) {
#ifndef NDEBUG
    // A tracked object dies only through its last reference.
    VEX_ASSERT(references_ == 0);
#endif
    --trackedType_->live_;
  }
}

}  // namespace Vex
