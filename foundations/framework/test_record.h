#pragma once
// A minimal watched record and a scriptable reactor, shared by the framework's
// unit tests.

#include <functional>
#include <string>
#include <vector>

#include <hubstore/foundations/framework/entity.h>
#include <hubstore/foundations/framework/notifiee_const.h>
#include <hubstore/foundations/framework/type_descriptor.h>

namespace Vex::testing {

class Counter : public Entity {
 public:
  static constexpr AttributeId valueAttr = 258;
  static Ptr<Counter> CounterIs(const char* name) { return make<Counter>(name); }
  static const TypeDescriptor& staticType() {
    static const TypeDescriptor type("Vex::testing::Counter", {{"value", AttributeKind::attribute, valueAttr}});
    return type;
  }
  const TypeDescriptor& fwkType() const override { return staticType(); }
  int value() const { return value_; }
  void valueIs(int value) {
    if (assignIfChanged(value_, value)) notify(valueAttr);
  }
  explicit Counter(const char* name) : Entity(name) {}

 private:
  int value_ = 0;
};

// Records its calls in a shared log and runs an optional action on each.
class Probe : public NotifieeConstOf<Counter> {
 public:
  static Ptr<Probe> ProbeIs(std::string label, std::vector<std::string>* log, const Ptr<Counter>& counter) {
    Ptr<Probe> probe = make<Probe>(std::move(label), log);
    probe->notifierIs(counter);
    probe->isRegisteredNotifieeIs(true);
    probe->hasNotificationActiveIs(true);
    return probe;
  }
  static const TypeDescriptor& staticType() {
    static const TypeDescriptor type("Vex::testing::Probe", {});
    return type;
  }
  const TypeDescriptor& fwkType() const override { return staticType(); }
  void onAttribute(AttributeId, const void*) override {
    log_->push_back(label_);
    if (action) action();
  }
  std::function<void()> action;
  Probe(std::string label, std::vector<std::string>* log) : label_(std::move(label)), log_(log) {}

 private:
  std::string label_;
  std::vector<std::string>* log_;
};

}  // namespace Vex::testing
