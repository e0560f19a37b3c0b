#include <hubstore/redis/store_poller.h>

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string>

#include <hubstore/redis/redis_store_error.h>

namespace hubstore::redis {

StorePoller::StorePoller() {
  poll_ = epoll_create1(EPOLL_CLOEXEC);
  timer_ = timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC);
  wake_ = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
  if (poll_ < 0 || timer_ < 0 || wake_ < 0) throw RedisStoreError(std::string("RedisStore: ") + std::strerror(errno));
  for (int fd : {timer_, wake_}) {
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.fd = fd;
    epoll_ctl(poll_, EPOLL_CTL_ADD, fd, &event);
  }
}

StorePoller::~StorePoller() {
  for (int fd : {poll_, timer_, wake_}) {
    if (fd >= 0) ::close(fd);
  }
}

void StorePoller::watch(int fd, bool writable, bool add) {
  if (fd < 0) return;
  epoll_event event{};
  event.events = EPOLLIN | (writable ? EPOLLOUT : 0u);
  event.data.fd = fd;
  if (!add && !writable) {
    epoll_ctl(poll_, EPOLL_CTL_DEL, fd, &event);
    return;
  }
  epoll_ctl(poll_, add ? EPOLL_CTL_ADD : EPOLL_CTL_MOD, fd, &event);
}

void StorePoller::interestIs(int fd, bool writable, bool addIfNew) {
  epoll_event event{};
  event.events = EPOLLIN | (writable ? EPOLLOUT : 0u);
  event.data.fd = fd;
  if (epoll_ctl(poll_, EPOLL_CTL_MOD, fd, &event) != 0 && addIfNew && errno == ENOENT) {
    epoll_ctl(poll_, EPOLL_CTL_ADD, fd, &event);
  }
}

void StorePoller::timerIs(std::chrono::milliseconds delay) {
  itimerspec spec{};
  spec.it_value.tv_sec = delay.count() / 1000;
  spec.it_value.tv_nsec = (delay.count() % 1000) * 1000000;
  timerfd_settime(timer_, 0, &spec, nullptr);
}

bool StorePoller::timerFired() {
  std::uint64_t expirations = 0;
  return ::read(timer_, &expirations, sizeof expirations) == static_cast<ssize_t>(sizeof expirations);
}

void StorePoller::wake() {
  const std::uint64_t one = 1;
  [[maybe_unused]] const ssize_t n = ::write(wake_, &one, sizeof one);
}

void StorePoller::drainWakes() {
  std::uint64_t count = 0;
  while (::read(wake_, &count, sizeof count) == static_cast<ssize_t>(sizeof count)) {
  }
}

}  // namespace hubstore::redis
