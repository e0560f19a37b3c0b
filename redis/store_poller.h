#pragma once
/// \class hubstore::redis::StorePoller
/// The one descriptor a RedisStore gives the agent's loop to poll. It is an
/// epoll set over the store's sockets, a timer (the reconnect back-off, an
/// attempt's deadline, the periodic check) and a wake-up that makes the
/// descriptor readable when writes or applies wait.

#include <chrono>

namespace hubstore::redis {

class StorePoller {
 public:
  /// Raises RedisStoreError when the system gives no descriptor.
  StorePoller();
  /// Closes its descriptors.
  ~StorePoller();
  /// Not copyable: it owns its descriptors.
  ///@{
  StorePoller(const StorePoller&) = delete;
  StorePoller& operator=(const StorePoller&) = delete;
  ///@}

  /// The descriptor to poll for reading: readable when process() has work.
  int fd() const { return poll_; }
  /// Adds a socket (`add`), changes what it is watched for, or, neither
  /// writable nor added, removes it. A negative `fd` is ignored.
  void watch(int fd, bool writable, bool add);
  /// Watches an open socket for writing too when `writable`; `addIfNew` adds
  /// one the set does not hold yet.
  void interestIs(int fd, bool writable, bool addIfNew = false);
  /// The timer fires once after `delay`; zero stops it.
  void timerIs(std::chrono::milliseconds delay);
  /// Whether the timer has fired since the last call.
  bool timerFired();
  /// Makes fd() readable until drainWakes(), so that the loop calls process()
  /// again.
  void wake();
  /// Takes the wake-ups made so far.
  void drainWakes();

 private:
  int poll_ = -1;
  int timer_ = -1;
  int wake_ = -1;
};

}  // namespace hubstore::redis
