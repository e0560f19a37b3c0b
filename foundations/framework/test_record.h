#pragma once
// A minimal watched record, a scriptable reactor and an object that logs its
// death, shared by the framework's unit tests, and the fixture of their typed
// suites over containers.

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <string>
#include <vector>

#include <hubstore/foundations/framework/entity.h>
#include <hubstore/foundations/framework/notifiee_const.h>
#include <hubstore/foundations/framework/type_descriptor.h>

namespace Vex::testing {

using Log = std::vector<std::string>;

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
struct Probe : NotifieeConstOf<Counter> {
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
  std::string label_;
  std::vector<std::string>* log_;
};

// Logs "NAME dies" when it dies, to show the order of releases; `next` may
// chain it to another.
struct Mortal : PtrInterface {
  static const TypeDescriptor& staticType() {
    static const TypeDescriptor type("Vex::testing::Mortal", {});
    return type;
  }
  const TypeDescriptor& fwkType() const override { return staticType(); }
  Mortal(std::string name, std::vector<std::string>* log) : name_(std::move(name)), log_(log) {}
  ~Mortal() override { log_->push_back(name_ + " dies"); }
  Ptr<Mortal> next;
  std::string name_;
  std::vector<std::string>* log_;
};

// A typed suite's fixture over containers of counters: no counter outlives a
// test. ContainerName names the suites' types, in the order of their lists.
template <class Container>
class ContainerTest : public ::testing::Test {
 protected:
  void TearDown() override { EXPECT_EQ(Counter::staticType().liveCount(), 0); }
};
struct ContainerName {
  template <class Container>
  static std::string GetName(int i) {
    return std::array{"Collection", "FlatCollection", "IndexedCollection", "ValueMap", "FlatValueMap"}[i];
  }
};

}  // namespace Vex::testing
