#include <hubstore/redis/resp_reader.h>

#include <gtest/gtest.h>
#include <hiredis/hiredis.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace hubstore::redis {
namespace {

using namespace std::string_literals;

// A reply as text, to compare readers; a string that is not NUL-terminated
// shows.
std::string dump(const redisReply& reply) {
  if (reply.type == REDIS_REPLY_INTEGER) return ":" + std::to_string(reply.integer);
  if (reply.type == REDIS_REPLY_NIL) return "nil";
  if (reply.type == REDIS_REPLY_ARRAY) {
    std::string text = "*" + std::to_string(reply.elements) + "[";
    for (std::size_t i = 0; i < reply.elements; ++i) text += dump(*reply.element[i]) + ",";
    return text + "]";
  }
  const char* kind = reply.type == REDIS_REPLY_STRING ? "$" : reply.type == REDIS_REPLY_STATUS ? "+" : "-";
  return kind + std::to_string(reply.len) + ":" + std::string(reply.str, reply.len) +
         (reply.str[reply.len] == '\0' ? "" : "<unterminated>");
}

// hiredis's own reader is the oracle, fed as RedisConnection feeds it.
std::vector<std::string> hiredisReplies(const std::string& stream) {
  std::unique_ptr<redisReader, void (*)(redisReader*)> reader(redisReaderCreate(), redisReaderFree);
  std::vector<std::string> replies;
  for (std::size_t at = 0; at < stream.size(); at += 16 * 1024) {
    EXPECT_EQ(redisReaderFeed(reader.get(), stream.data() + at, std::min<std::size_t>(16 * 1024, stream.size() - at)),
              REDIS_OK);
    void* reply = nullptr;
    while (redisReaderGetReply(reader.get(), &reply) == REDIS_OK && reply) {
      replies.push_back(dump(*static_cast<redisReply*>(reply)));
      freeReplyObject(reply);
    }
  }
  EXPECT_EQ(reader->err, 0) << reader->errstr;
  return replies;
}

// Feeds the stream cut at `cuts`; after each piece takes at most `takes`
// replies (all when 0), so that complete replies also wait in the buffer.
std::vector<std::string> readInPieces(const std::string& stream, const std::vector<std::size_t>& cuts,
                                      std::mt19937* takes = nullptr) {
  RespReader reader;
  std::vector<std::string> replies;
  std::size_t from = 0;
  for (std::size_t i = 0; i <= cuts.size(); ++i) {
    const std::size_t to = i < cuts.size() ? cuts[i] : stream.size();
    reader.feed(stream.data() + from, to - from);
    from = to;
    const bool last = i == cuts.size();
    for (unsigned left = takes && !last ? (*takes)() % 4 : ~0u; left > 0; --left) {
      const redisReply* reply = reader.next();
      if (!reply) break;
      replies.push_back(dump(*reply));
    }
  }
  EXPECT_FALSE(reader.failed()) << reader.error();
  EXPECT_EQ(reader.bufferedBytes(), 0u);
  return replies;
}

std::string bulk(const std::string& text) { return "$" + std::to_string(text.size()) + "\r\n" + text + "\r\n"; }

// An agent's hash read with HGETALL: 101 short bulk strings.
std::string hashReply(int key) {
  std::string reply = "*101\r\n" + bulk("name");
  for (int field = 0; field < 50; ++field) {
    reply += bulk("[group" + std::to_string(field) + "]") + bulk(std::to_string(key * 7919 % 100000 + field));
  }
  return reply;
}

const std::string kScanReply =
    "*2\r\n" + bulk("1792") + "*3\r\n" + bulk("agentB:sw:1") + bulk("agentB:sw:2") + bulk("");
const std::string kPmessage =
    "*4\r\n" + bulk("pmessage") + bulk("__keyspace@0__:agentB:*") + bulk("__keyspace@0__:agentB:sw:1") + bulk("hset");
// Every reply type, in arrays too, nested below the top as deep as hiredis
// 0.14 reads (7); the integers at their limits.
const std::string kMixedStream =
    "+OK\r\n+\r\n-ERR wrong number of arguments\r\n:0\r\n:-9223372036854775808\r\n:9223372036854775807\r\n" +
    bulk("hello") + bulk("") +
    "$-1\r\n" + bulk("a\r\nb\0c"s) + "*0\r\n*-1\r\n" + kScanReply + kPmessage +
    "*3\r\n*2\r\n:1\r\n*1\r\n*0\r\n$-1\r\n*2\r\n*-1\r\n-ERR in array\r\n" +
    "*1\r\n*1\r\n*1\r\n*1\r\n*1\r\n*1\r\n*2\r\n+deep\r\n:7\r\n";

// hiredis 0.14 stops at 7.
TEST(RespReaderTest, ReadsArraysNestedToAnyDepth) {
  constexpr int kDepth = 100000;
  std::string deep;
  for (int i = 0; i < kDepth; ++i) deep += "*1\r\n";
  deep += ":7\r\n";
  RespReader reader;
  reader.feed(deep.data(), deep.size());
  const redisReply* level = reader.next();
  for (int i = 0; i < kDepth && level; ++i) {
    ASSERT_EQ(level->type, REDIS_REPLY_ARRAY) << "depth " << i;
    ASSERT_EQ(level->elements, 1u);
    level = level->element[0];
  }
  ASSERT_TRUE(level);
  EXPECT_EQ(level->integer, 7);
}

TEST(RespReaderTest, MatchesHiredisWhereverTheInputIsCut) {
  const std::vector<std::string> expected = hiredisReplies(kMixedStream);
  ASSERT_EQ(expected.size(), 16u);
  std::vector<std::size_t> everyByte;
  for (std::size_t cut = 1; cut < kMixedStream.size(); ++cut) {
    EXPECT_EQ(readInPieces(kMixedStream, {cut}), expected) << "cut at " << cut;
    everyByte.push_back(cut);
  }
  EXPECT_EQ(readInPieces(kMixedStream, everyByte), expected);
  // Lengths are read past their last digit without bounds checks: a length
  // cut at the end of a full buffer (64 KiB at first) must not read beyond it.
  const std::string filler = bulk(std::string(64 * 1024 - 13, 'x')) + "$12";
  ASSERT_EQ(filler.size(), 64u * 1024);
  EXPECT_EQ(readInPieces(filler + "\r\nhello world!\r\n", {filler.size()}),
            hiredisReplies(filler + "\r\nhello world!\r\n"));
}

// Replies larger than the buffer, cut while their nodes point into it, and
// complete replies left waiting while more bytes come: the buffer moves and
// grows under replies in progress.
TEST(RespReaderTest, MatchesHiredisOnLargeStreamsFedInPieces) {
  std::string stream;
  for (int key = 0; key < 300; ++key) stream += hashReply(key) + (key % 50 == 0 ? kMixedStream : "");
  std::string large = "*30000\r\n";
  for (int i = 0; i < 30000; ++i) large += i % 3 ? bulk(std::to_string(i)) : ":"s + std::to_string(i) + "\r\n";
  stream += large + bulk(std::string(300000, 'v')) + kScanReply;
  const std::vector<std::string> expected = hiredisReplies(stream);

  std::mt19937 random(20240611);
  for (std::size_t piece : {std::size_t{1024}, std::size_t{16 * 1024}, std::size_t{0}}) {
    std::vector<std::size_t> cuts;
    for (std::size_t at = 0; at < stream.size();) {
      at += piece ? piece : 1 + random() % 40000;
      if (at < stream.size()) cuts.push_back(at);
    }
    EXPECT_EQ(readInPieces(stream, cuts), expected) << "pieces of " << piece;
    EXPECT_EQ(readInPieces(stream, cuts, &random), expected) << "pieces of " << piece << ", replies taken late";
  }
}

TEST(RespReaderTest, ReportsProtocolErrorsThenReadsNoMore) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"?x\r\n", "byte 0x3f where a reply begins"},
      {"%1\r\n", "byte 0x25 where a reply begins"},  // a RESP3 map
      {"$abc\r\n", "bad bulk string length"},
      {"$-2\r\n", "bad bulk string length"},
      {"$536870913\r\n", "bad bulk string length"},
      {"$3\r\nabcd\r\n", "no CRLF after a bulk string"},
      {"*-2\r\n", "bad array length"},
      {"*2147483648\r\n", "bad array length"},
      {"*1\r\n:\r\n", "bad integer"},
      {":12\rx", "bad integer"},
      {":12345678901234567890\r\n", "bad integer"},
      {":9223372036854775808\r\n", "bad integer"},
      {"+OK\rX\n", "no LF after a CR"},
      {"-" + std::string(RespReader::kMaxLineBytes + 1, 'e'), "a status or error line too long"},
  };
  for (const auto& [input, why] : cases) {
    const std::string stream = "+OK\r\n" + input;
    for (std::size_t piece : {stream.size(), std::size_t{1}}) {
      RespReader reader;
      std::vector<std::string> replies;
      for (std::size_t at = 0; at < stream.size(); at += piece) {
        reader.feed(stream.data() + at, std::min(piece, stream.size() - at));
        while (const redisReply* reply = reader.next()) replies.push_back(dump(*reply));
      }
      EXPECT_EQ(replies, std::vector<std::string>{"+2:OK"}) << input;
      EXPECT_EQ(reader.error(), "protocol error: " + why) << input;
      reader.feed("+OK\r\n", 5);
      EXPECT_EQ(reader.next(), nullptr);
      EXPECT_TRUE(reader.failed());
    }
  }
}

TEST(RespReaderTest, MemoryFollowsTheBytesThatArriveNotTheLengthsAnnounced) {
  std::string manyElements = "*2147483647\r\n";
  for (int i = 0; i < 1000; ++i) manyElements += ":1\r\n";
  std::string manyNested;
  for (int i = 0; i < 2000; ++i) manyNested += "*1000000\r\n";
  for (const std::string& input : {manyElements, manyNested, "$536870912\r\nabc"s}) {
    RespReader reader;
    reader.feed(input.data(), input.size());
    EXPECT_EQ(reader.next(), nullptr);
    EXPECT_FALSE(reader.failed()) << reader.error();
    EXPECT_LT(reader.heldBytes(), 1024u * 1024) << input.substr(0, 12);
  }
  // A buffer grown for a large reply is given back once the reply is read.
  RespReader afterLarge;
  const std::string large = bulk(std::string(8 * 1024 * 1024, 'v'));
  afterLarge.feed(large.data(), large.size());
  ASSERT_TRUE(afterLarge.next());
  afterLarge.feed("+OK\r\n", 5);
  ASSERT_TRUE(afterLarge.next());
  EXPECT_LT(afterLarge.heldBytes(), 1024u * 1024);
}

}  // namespace
}  // namespace hubstore::redis
