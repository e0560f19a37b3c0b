#include <hubstore/foundations/platform/eth_addr.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <hubstore/foundations/records/system_id.h>

namespace Lanx {
namespace {

// A switch's id follows the address too, not its spelling.
TEST(EthAddr, ReadsTheThreeSpellingsInAnyCaseAndWritesLowercaseColons) {
  const auto id = Controller::SystemId::fromString("00:1c:73:0a:0b:0c");
  for (const char* text : {"00:1C:73:0a:0B:0c", "00-1c-73-0A-0b-0C", "001C.730a.0B0c"}) {
    EthAddr addr;
    addr.stringValueIs(text);
    EXPECT_EQ(addr.stringValue(), "00:1c:73:0a:0b:0c") << text;
    EXPECT_EQ(Controller::SystemId::fromString(text), id) << text;
    EXPECT_EQ(Controller::SystemId::fromString(text).hash(), id.hash()) << text;
  }
  EXPECT_TRUE(id < Controller::SystemId::fromString("00:1c:73:0a:0b:10"));
  EXPECT_FALSE(Controller::SystemId::fromString("00:1c:73:0a:0b:10") < id);
}

TEST(EthAddr, RejectsMalformedTextNamingItAndKeepsTheOldValue) {
  EthAddr addr;
  addr.stringValueIs("00:00:00:00:00:01");
  for (const char* bad : {"", "00:00:00:00:00", "00:00:00:00:00:0g", "00:00-00:00:00:01", "0000.0000.000",
                          "00:00:00:00:00:001", "not-a-switch"}) {
    EXPECT_THAT([&] { addr.stringValueIs(bad); },
                ::testing::ThrowsMessage<InvalidEthAddrException>(::testing::HasSubstr(std::string("'") + bad + "'")));
  }
  EXPECT_EQ(addr.stringValue(), "00:00:00:00:00:01");
}

}  // namespace
}  // namespace Lanx
