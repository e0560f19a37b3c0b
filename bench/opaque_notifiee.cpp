#include "opaque_notifiee.h"

namespace bench {
namespace {

class CountingNotifiee : public OpaqueNotifiee {
 public:
  void onAttribute(Vex::AttributeId, const void*) override { ++calls_; }
  long calls() const override { return calls_; }

 private:
  long calls_ = 0;
};

}  // namespace

std::unique_ptr<OpaqueNotifiee> countingNotifiee() { return std::make_unique<CountingNotifiee>(); }

}  // namespace bench
