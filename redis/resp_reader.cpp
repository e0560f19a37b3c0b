#include <hubstore/redis/resp_reader.h>

#include <hiredis/hiredis.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>

namespace hubstore::redis {

namespace {

// The shortest element, "+\r\n": an array of n elements needs 3n bytes.
constexpr std::size_t kMinElementBytes = 3;
constexpr std::size_t kFirstBufferBytes = 64 * 1024;
// "-9223372036854775808": longer, a number line is malformed.
constexpr int kMaxDigits = 19;

bool isCrlf(const char* at) {
  std::uint16_t pair;
  std::memcpy(&pair, at, sizeof pair);
  constexpr std::uint16_t kCrlf = std::endian::native == std::endian::little ? 0x0a0d : 0x0d0a;
  return pair == kCrlf;
}

bool holdsString(int type) {
  return type == REDIS_REPLY_STRING || type == REDIS_REPLY_STATUS || type == REDIS_REPLY_ERROR;
}

}  // namespace

template <class T, std::size_t kBlockItems>
T* RespReader::Arena<T, kBlockItems>::allocate(std::size_t count) {
  if (static_cast<std::size_t>(limit_ - next_) < count) return allocateInNextBlock(count);
  T* at = next_;
  next_ += count;
  return at;
}

template <class T, std::size_t kBlockItems>
T* RespReader::Arena<T, kBlockItems>::allocateInNextBlock(std::size_t count) {
  if (current_ < blocks_.size()) {
    blocks_[current_].used = static_cast<std::size_t>(next_ - blocks_[current_].items.get());
    ++current_;
  }
  while (current_ < blocks_.size() && blocks_[current_].size < count) blocks_[current_++].used = 0;
  if (current_ == blocks_.size()) {
    const std::size_t size = std::max(count, kBlockItems);
    blocks_.push_back({std::make_unique_for_overwrite<T[]>(size), size, 0});
  }
  Block& block = blocks_[current_];
  next_ = block.items.get() + count;
  limit_ = block.items.get() + block.size;
  return block.items.get();
}

template <class T, std::size_t kBlockItems>
void RespReader::Arena<T, kBlockItems>::clear() {
  current_ = 0;
  next_ = blocks_.empty() ? nullptr : blocks_[0].items.get();
  limit_ = blocks_.empty() ? nullptr : next_ + blocks_[0].size;
}

template <class T, std::size_t kBlockItems>
template <class Visit>
void RespReader::Arena<T, kBlockItems>::forEach(Visit visit) {
  for (std::size_t i = 0; i < current_; ++i) {
    std::for_each(blocks_[i].items.get(), blocks_[i].items.get() + blocks_[i].used, visit);
  }
  if (current_ < blocks_.size()) std::for_each(blocks_[current_].items.get(), next_, visit);
}

template <class T, std::size_t kBlockItems>
std::size_t RespReader::Arena<T, kBlockItems>::heldBytes() const {
  std::size_t items = 0;
  for (const Block& block : blocks_) items += block.size;
  return items * sizeof(T);
}

RespReader::RespReader() = default;
RespReader::~RespReader() = default;

std::size_t RespReader::heldBytes() const {
  return capacity_ + nodes_.heldBytes() + slots_.heldBytes() + open_.capacity() * sizeof(OpenArray);
}

const redisReply* RespReader::fail(const std::string& why) {
  error_ = "protocol error: " + why;
  return nullptr;
}

// The reply handed out is done with: its nodes go back to the arenas, its
// bytes are consumed.
void RespReader::release() {
  if (!handedOut_) return;
  handedOut_ = false;
  nodes_.clear();
  slots_.clear();
  root_ = nullptr;
}

void RespReader::feed(const char* data, std::size_t size) {
  if (failed() || size == 0) return;
  std::memcpy(space(size), data, size);
  written(size);
}

char* RespReader::space(std::size_t size) {
  release();
  if (begin_ == end_) {
    begin_ = pos_ = end_ = 0;
    if (capacity_ > kKeptBufferBytes) {
      buffer_.reset();
      capacity_ = 0;
    }
  }
  if (capacity_ - end_ < size || !buffer_) makeRoom(size);
  return buffer_.get() + end_;
}

void RespReader::written(std::size_t size) {
  if (failed()) return;
  end_ += size;
  buffer_[end_] = buffer_[end_ + 1] = '\0';
}

// Drops the consumed bytes when they are at least as many as those kept (so
// each byte is moved at most once per byte consumed before it), or else
// doubles the buffer.
void RespReader::makeRoom(std::size_t size) {
  const std::size_t kept = end_ - begin_;
  if (begin_ >= kept && kept + size <= capacity_) {
    moveBuffered(buffer_.get());
    return;
  }
  const std::size_t capacity = std::max({capacity_ * 2, kept + size, kFirstBufferBytes});
  auto fresh = std::make_unique_for_overwrite<char[]>(capacity + 2);  // and the NULs after the last byte
  moveBuffered(fresh.get());
  buffer_ = std::move(fresh);
  capacity_ = capacity;
}

// Moves the bytes not yet returned to `to`, and the strings of the reply in
// progress with them.
void RespReader::moveBuffered(char* to) {
  char* const from = buffer_.get() + begin_;
  const std::size_t kept = end_ - begin_;
  if (kept > 0) std::memmove(to, from, kept);
  if (root_) {
    nodes_.forEach([from, to](redisReply& node) {
      if (holdsString(node.type)) node.str = to + (node.str - from);
    });
  }
  pos_ -= begin_;
  end_ = kept;
  begin_ = 0;
}

redisReply* RespReader::newNode(int type) {
  redisReply* node = nodes_.allocate(1);
  *node = redisReply{};
  node->type = type;
  return node;
}

void RespReader::growSlots(OpenArray& open) {
  const std::size_t slots = std::min(open.elements, std::max<std::size_t>(open.slots * 2, 16));
  redisReply** element = slots_.allocate(slots);
  std::copy_n(open.array->element, open.filled, element);
  open.array->element = element;
  open.slots = slots;
}

inline void RespReader::placeIn(OpenArray& parent, redisReply* node) {
  if (parent.filled == parent.slots) growSlots(parent);
  parent.array->element[parent.filled++] = node;
}

// Reserves as many element slots as the bytes buffered could fill, beyond
// the slots the arrays it is in still wait to fill: all of them when the
// whole reply is buffered, and no more than the input justifies when a
// hostile server announces billions.
RespReader::OpenArray* RespReader::openArray(redisReply* array, std::size_t bytesLeft, OpenArray* parent) {
  std::size_t reservedOutside = 0;
  if (parent) {
    placeIn(*parent, array);
    reservedOutside = parent->reservedOutside + (parent->slots - parent->filled);
  } else {
    root_ = array;
  }
  const std::size_t fillable = bytesLeft / kMinElementBytes;
  const std::size_t slots = std::min(array->elements, fillable > reservedOutside ? fillable - reservedOutside : 0);
  array->element = slots > 0 ? slots_.allocate(slots) : nullptr;
  open_.push_back({array, array->elements, 0, slots, reservedOutside});
  return &open_.back();
}

// A decimal after a type byte, through its CRLF; `at` moves past the CRLF.
// Most are short lengths, read without bounds checks: the two NULs the
// buffer keeps after its last byte end the digits and fail the CRLF test.
// The rest take the checked way.
inline RespReader::Scan RespReader::scanNumber(char*& at, const char* end, long long& value) {
  constexpr std::size_t kUncheckedDigits = 18;  // below 2^63
  char* p = at;
  unsigned long long magnitude = 0;
  for (unsigned digit; (digit = static_cast<unsigned char>(*p) - unsigned{'0'}) < 10; ++p) {
    magnitude = magnitude * 10 + digit;
  }
  if (static_cast<std::size_t>(p - at - 1) < kUncheckedDigits && isCrlf(p)) {
    value = static_cast<long long>(magnitude);
    at = p + 2;
    return Scan::done;
  }
  return scanNumberChecked(at, end, value);
}

RespReader::Scan RespReader::scanNumberChecked(char*& at, const char* end, long long& value) {
  char* p = at;
  const bool negative = p != end && *p == '-';
  if (negative) ++p;
  const char* const digits = p;
  unsigned long long magnitude = 0;
  for (; p != end && static_cast<unsigned char>(*p - '0') < 10; ++p) {
    if (p - digits == kMaxDigits) return Scan::bad;
    magnitude = magnitude * 10 + static_cast<unsigned>(*p - '0');
  }
  if (p == end) return Scan::needMore;
  if (*p != '\r' || p == digits) return Scan::bad;
  if (p + 1 == end) return Scan::needMore;
  if (p[1] != '\n') return Scan::bad;
  constexpr unsigned long long kMax = std::numeric_limits<long long>::max();
  if (magnitude > kMax + (negative ? 1 : 0)) return Scan::bad;
  value = negative ? static_cast<long long>(0 - magnitude) : static_cast<long long>(magnitude);
  at = p + 2;
  return Scan::done;
}

const redisReply* RespReader::next() {
  release();
  if (failed()) return nullptr;
  char* const base = buffer_.get();
  const char* const end = base + end_;
  char* p = base + pos_;
  OpenArray* top = open_.empty() ? nullptr : &open_.back();
  // Each round reads one element whole, or leaves p where it begins.
  while (p != end) {
    char* q = p + 1;
    redisReply* node = nullptr;
    long long number = 0;
    // Bulk strings first: most elements are.
    if (*p == '$') {
      const Scan scan = scanNumber(q, end, number);
      if (scan == Scan::needMore) goto needMore;
      if (scan == Scan::bad || number < -1 || number > kMaxBulkBytes) return fail("bad bulk string length");
      if (number >= 0) {
        const auto length = static_cast<std::size_t>(number);
        if (static_cast<std::size_t>(end - q) < length + 2) goto needMore;
        if (!isCrlf(q + length)) return fail("no CRLF after a bulk string");
        q[length] = '\0';
        node = nodes_.allocate(1);
        *node = {.type = REDIS_REPLY_STRING, .integer = 0, .len = length, .str = q, .elements = 0, .element = nullptr};
        q += length + 2;
      } else {
        node = newNode(REDIS_REPLY_NIL);
      }
    } else {
      switch (*p) {
        case '*': {
          const Scan scan = scanNumber(q, end, number);
          if (scan == Scan::needMore) goto needMore;
          if (scan == Scan::bad || number < -1 || number > kMaxElements) return fail("bad array length");
          node = newNode(number == -1 ? REDIS_REPLY_NIL : REDIS_REPLY_ARRAY);
          if (number > 0) {
            node->elements = static_cast<std::size_t>(number);
            top = openArray(node, static_cast<std::size_t>(end - q), top);
            p = q;
            continue;
          }
          break;
        }
        case ':': {
          const Scan scan = scanNumber(q, end, number);
          if (scan == Scan::needMore) goto needMore;
          if (scan == Scan::bad) return fail("bad integer");
          node = newNode(REDIS_REPLY_INTEGER);
          node->integer = number;
          break;
        }
        case '+':
        case '-': {
          char* const from = q + lineScanned_;
          auto* cr = static_cast<char*>(std::memchr(from, '\r', static_cast<std::size_t>(end - from)));
          const std::size_t length = static_cast<std::size_t>((cr ? cr : end) - q);
          if (length > kMaxLineBytes) return fail("a status or error line too long");
          if (!cr || cr + 1 == end) {
            lineScanned_ = length;
            goto needMore;
          }
          if (cr[1] != '\n') return fail("no LF after a CR");
          *cr = '\0';
          node = newNode(*p == '+' ? REDIS_REPLY_STATUS : REDIS_REPLY_ERROR);
          node->str = q;
          node->len = length;
          lineScanned_ = 0;
          q = cr + 2;
          break;
        }
        default: {
          char byte[8];
          std::snprintf(byte, sizeof byte, "0x%02x", static_cast<unsigned char>(*p));
          return fail(std::string("byte ") + byte + " where a reply begins");
        }
      }
    }
    p = q;
    if (!top) {
      root_ = node;
      break;
    }
    placeIn(*top, node);
    while (top && top->filled == top->elements) {
      open_.pop_back();
      top = open_.empty() ? nullptr : &open_.back();
    }
    if (!top) break;
  }
  if (root_ && open_.empty()) {
    begin_ = pos_ = static_cast<std::size_t>(p - base);
    handedOut_ = true;
    return root_;
  }
needMore:
  pos_ = static_cast<std::size_t>(p - base);
  return nullptr;
}

}  // namespace hubstore::redis
