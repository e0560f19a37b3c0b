#include <hubstore/foundations/framework/ptr.h>

#include <gtest/gtest.h>

#include <hubstore/foundations/framework/test_record.h>

namespace Vex::testing {
namespace {

TEST(Ptr, CountsReferencesAndInstallsAnAssignedValueBeforeReleasingTheOld) {
  Log log;
  Ptr<Mortal> head = make<Mortal>("a", &log);
  head->next = make<Mortal>("b", &log);
  {
    const Ptr<const Mortal> view = head;
    EXPECT_EQ(head->references(), 2u);
  }
  EXPECT_EQ(Mortal::staticType().liveCount(), 2);  // the view's release killed nothing
  head = head->next;  // `a` held the only reference to `b`
  EXPECT_EQ(log, Log{"a dies"});
  EXPECT_EQ(head->references(), 1u);
  head = nullptr;
  EXPECT_EQ(log, (Log{"a dies", "b dies"}));
  EXPECT_EQ(Mortal::staticType().liveCount(), 0);
}

TEST(Ptr, AnObjectReleasedDuringAUseDiesWhenTheOutermostUseEnds) {
  Log log;
  Ptr<Mortal> a = make<Mortal>("a", &log);
  Ptr<Mortal> b = make<Mortal>("b", &log);
  PtrInterface::keepAliveWhile(a.get(), [&] {
    PtrInterface::keepAliveWhile(a.get(), [&] { a = nullptr; });
    EXPECT_EQ(log, Log{});  // the inner use leaves it to the outer one
    PtrInterface::keepAliveWhile(b.get(), [&] {
      Mortal* raw = b.get();
      b = nullptr;
      b = Ptr<Mortal>(raw);  // taken again before the use ends
    });
  });
  EXPECT_EQ(log, Log{"a dies"});
  EXPECT_EQ(b->references(), 1u);
}

}  // namespace
}  // namespace Vex::testing
