#pragma once
// The notifiee that the dispatch floors call: a virtual call that counts.
// Its class lives in its own source so that the floors' loops cannot see the
// override and turn the virtual call into a direct one, which the library's
// dispatch, calling reactors it does not know, never can.

#include <memory>

#include <hubstore/foundations/framework/ptr_interface.h>

namespace bench {

class OpaqueNotifiee {
 public:
  virtual ~OpaqueNotifiee() = default;
  virtual void onAttribute(Vex::AttributeId attribute, const void* key) = 0;
  virtual long calls() const = 0;
};

// Counts its calls.
std::unique_ptr<OpaqueNotifiee> countingNotifiee();

}  // namespace bench
