#include <hubstore/foundations/framework/ptr.h>

#include <gtest/gtest.h>

#include <hubstore/foundations/framework/type_descriptor.h>

namespace Vex::testing {
namespace {

// Logs its own destruction, to see the order of releases.
class Logged : public PtrInterface {
 public:
  static const TypeDescriptor& staticType() {
    static const TypeDescriptor type("Vex::testing::Logged", {});
    return type;
  }
  const TypeDescriptor& fwkType() const override { return staticType(); }
  Logged(std::string name, std::string* log) : name_(std::move(name)), log_(log) {}
  ~Logged() override { *log_ += "~" + name_ + " "; }
  Ptr<Logged> next;

 private:
  std::string name_;
  std::string* log_;
};

struct PtrTest : ::testing::Test {
  std::string log;
};

TEST_F(PtrTest, CountsReferencesAndTracksLiveObjectsPerType) {
  {
    Ptr<Logged> a = make<Logged>("a", &log);
    Ptr<const Logged> view = a;
    EXPECT_EQ(a->references(), 2u);
    EXPECT_EQ(Logged::staticType().liveCount(), 1);
    a = nullptr;
    EXPECT_EQ(log, "");
  }
  EXPECT_EQ(log, "~a ");
  EXPECT_EQ(Logged::staticType().liveCount(), 0);
}

TEST_F(PtrTest, AssignmentInstallsTheNewValueBeforeReleasingTheOld) {
  Ptr<Logged> head = make<Logged>("a", &log);
  head->next = make<Logged>("b", &log);
  head = head->next;  // `a` held the only reference to `b`
  EXPECT_EQ(log, "~a ");
  EXPECT_EQ(head->references(), 1u);
  head = nullptr;
  EXPECT_EQ(log, "~a ~b ");
}

TEST_F(PtrTest, AnObjectReleasedDuringAUseDiesWhenTheOutermostUseEnds) {
  Ptr<Logged> a = make<Logged>("a", &log);
  Ptr<Logged> b = make<Logged>("b", &log);
  PtrInterface::keepAliveWhile(a.get(), [&] {
    PtrInterface::keepAliveWhile(a.get(), [&] { a = nullptr; });
    EXPECT_EQ(log, "");  // the inner use leaves it to the outer one
    PtrInterface::keepAliveWhile(b.get(), [&] {
      Logged* raw = b.get();
      b = nullptr;
      b = Ptr<Logged>(raw);  // taken again before the use ends
    });
  });
  EXPECT_EQ(log, "~a ");
  EXPECT_EQ(b->references(), 1u);
}

}  // namespace
}  // namespace Vex::testing
