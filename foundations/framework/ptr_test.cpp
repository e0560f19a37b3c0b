#include <hubstore/foundations/framework/ptr.h>

#include <gtest/gtest.h>

#include <hubstore/foundations/framework/test_record.h>

namespace Vex::testing {
namespace {

using Log = std::vector<std::string>;

struct PtrTest : ::testing::Test {
  Log log;
};

TEST_F(PtrTest, CountsReferencesAndTracksLiveObjectsPerType) {
  {
    Ptr<Mortal> a = make<Mortal>("a", &log);
    Ptr<const Mortal> view = a;
    EXPECT_EQ(a->references(), 2u);
    EXPECT_EQ(Mortal::staticType().liveCount(), 1);
    a = nullptr;
    EXPECT_EQ(log, Log{});
  }
  EXPECT_EQ(log, Log{"a dies"});
  EXPECT_EQ(Mortal::staticType().liveCount(), 0);
}

TEST_F(PtrTest, AssignmentInstallsTheNewValueBeforeReleasingTheOld) {
  Ptr<Mortal> head = make<Mortal>("a", &log);
  head->next = make<Mortal>("b", &log);
  head = head->next;  // `a` held the only reference to `b`
  EXPECT_EQ(log, Log{"a dies"});
  EXPECT_EQ(head->references(), 1u);
  head = nullptr;
  EXPECT_EQ(log, (Log{"a dies", "b dies"}));
}

TEST_F(PtrTest, AnObjectReleasedDuringAUseDiesWhenTheOutermostUseEnds) {
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
