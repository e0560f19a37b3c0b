#pragma once
/// \class hubstore::redis::RespReader
/// Reads Redis replies (RESP2: "+status",
/// "-error", ":integer", "$len" bulk strings and "*n" arrays, "$-1" and "*-1"
/// nil, arrays nested to any depth) from bytes that arrive in arbitrary pieces,
/// as hiredis's redisReply trees, for the consumers written against hiredis.
///
///     RespReader reader;
///     ... n = recv(fd, chunk, sizeof chunk, 0):
///     reader.feed(chunk, n);
///     while (const redisReply* reply = reader.next()) handle(*reply);
///     if (reader.failed()) closeTheConnection(reader.error());
///
/// An agent's start reads tens of thousands of hashes of tens of fields, so a
/// reply costs no allocation per element: its nodes and element arrays come
/// from arenas kept from reply to reply, and its strings point into the
/// reader's own input buffer, NUL-terminated in place (the `\r` after each
/// string is overwritten). A reply cut short by the end of the input is
/// resumed where it stopped when more bytes come, so a reply of any size costs
/// time linear in its bytes however it is fed.
///
/// Lifetime: the reply next() returns, its elements and their strings, stay
/// valid until the next call of next() or feed(), or the reader's destruction,
/// whichever comes first; a consumer that keeps anything longer copies it.
/// next() reuses the arenas for the following reply. Only feed() moves bytes:
/// it drops those of the replies returned (when they are at least as many as
/// those it keeps, so that no byte is moved more often than bytes are read)
/// or moves everything to a buffer twice as large, and points the strings of
/// a reply in progress at their new place. Replies complete in the buffer but
/// not yet returned wait there across feeds.
///
/// A protocol error (a byte that begins no reply, a length out of range, a
/// missing CRLF) ends the reader: failed() is true, error() says why, next()
/// returns nullptr and feed() ignores its bytes from then on; its owner closes
/// the connection. Stricter than hiredis 0.14, which takes "$-5" for nil and
/// reads a malformed integer as -1.
///
/// Bounds against a hostile server: a bulk string may be as long as Redis
/// allows one (kMaxBulkBytes), an array as long as an int counts, a status or
/// error line kMaxLineBytes; beyond, a protocol error. Memory follows the bytes
/// that have actually arrived: a bulk string's bytes are awaited, not
/// allocated, and an array's element slots are reserved only as far as the
/// bytes buffered could fill them, and grow as more elements come. The buffer
/// keeps its largest size up to kKeptBufferBytes, and the arenas theirs.
/// RESP3's types are not read: they need HELLO 3, which we never send.

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <vector>

struct redisReply;

namespace hubstore::redis {

class RespReader {
 public:
  /// The longest bulk string read: as long as Redis allows one.
  static constexpr std::int64_t kMaxBulkBytes = std::int64_t{512} * 1024 * 1024;
  /// The most elements of an array: as many as an int counts.
  static constexpr std::int64_t kMaxElements = std::numeric_limits<int>::max();
  /// The longest status or error line.
  static constexpr std::size_t kMaxLineBytes = 1024 * 1024;
  /// The buffer keeps its largest size up to this many bytes.
  static constexpr std::size_t kKeptBufferBytes = 4 * 1024 * 1024;

  /// An empty reader.
  RespReader();
  /// Frees the buffer and the arenas; no reply it returned stays valid.
  ~RespReader();
  /// Not copyable: replies point into its buffer.
  ///@{
  RespReader(const RespReader&) = delete;
  RespReader& operator=(const RespReader&) = delete;
  ///@}

  /// Appends `size` bytes; ends the life of the reply next() last returned.
  void feed(const char* data, std::size_t size);
  /// The same without a copy: space(size) gives room for `size` bytes at the
  /// end of the buffer, to receive into, and written(n) takes the first n of
  /// them. space() ends the last reply's life as feed() does.
  ///@{
  char* space(std::size_t size);
  void written(std::size_t size);
  ///@}
  /// The next complete reply, or nullptr when the bytes fed so far hold none
  /// or the reader has failed. Ends the life of the reply it last returned.
  const redisReply* next();

  /// Whether a protocol error ended the reader.
  bool failed() const { return !error_.empty(); }
  /// The protocol error, empty while there is none.
  const std::string& error() const { return error_; }
  /// Bytes fed and not yet returned in a reply.
  std::size_t bufferedBytes() const { return end_ - begin_; }
  /// The memory the reader holds: its buffer, arenas and open arrays.
  std::size_t heldBytes() const;

 private:
  // Blocks of T handed out in order and taken back all at once; the blocks
  // are kept for the next reply.
  template <class T, std::size_t kBlockItems>
  class Arena {
   public:
    T* allocate(std::size_t count);
    void clear();
    // Calls `visit` on each item handed out since clear().
    template <class Visit>
    void forEach(Visit visit);
    std::size_t heldBytes() const;

   private:
    T* allocateInNextBlock(std::size_t count);
    struct Block {
      std::unique_ptr<T[]> items;
      std::size_t size;
      std::size_t used;  // recorded when the next block is taken
    };
    std::vector<Block> blocks_;
    std::size_t current_ = 0;  // blocks_.size() while no block is in use
    T* next_ = nullptr;
    T* limit_ = nullptr;
  };

  // An array whose elements are still being read.
  struct OpenArray {
    redisReply* array;
    std::size_t elements;
    std::size_t filled;
    std::size_t slots;  // element slots allocated, at most `elements`
    // Slots allocated and not yet filled by the arrays this one is in.
    std::size_t reservedOutside;
  };

  enum class Scan { done, needMore, bad };
  static Scan scanNumber(char*& at, const char* end, long long& value);
  static Scan scanNumberChecked(char*& at, const char* end, long long& value);

  const redisReply* fail(const std::string& why);
  void release();
  void makeRoom(std::size_t size);
  void moveBuffered(char* to);
  redisReply* newNode(int type);
  void placeIn(OpenArray& parent, redisReply* node);
  OpenArray* openArray(redisReply* array, std::size_t bytesLeft, OpenArray* parent);
  void growSlots(OpenArray& open);

  // The input: [begin_, end_) is not yet returned, and the reply in progress
  // has been read up to pos_. Two NULs follow end_, beyond capacity_ if need
  // be, so that numbers are read without bounds checks.
  std::unique_ptr<char[]> buffer_;
  std::size_t capacity_ = 0;
  std::size_t begin_ = 0;
  std::size_t pos_ = 0;
  std::size_t end_ = 0;
  // How much of the status or error line at pos_ is known to hold no '\r'.
  std::size_t lineScanned_ = 0;

  Arena<redisReply, 1024> nodes_;
  Arena<redisReply*, 8192> slots_;
  std::vector<OpenArray> open_;
  redisReply* root_ = nullptr;
  bool handedOut_ = false;
  std::string error_;
};

}  // namespace hubstore::redis
