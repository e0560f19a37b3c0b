#pragma once
// Vex::Ptr<T>: an intrusive counted pointer to a Vex::PtrInterface.
//
//   Ptr<Record> r = Vex::make<Record>(...);  // takes the construction reference
//   Ptr<Record const> view = r;              // read-only view, count 2
//   r = other;                               // installs `other`, then releases the old
//
// Null is a valid value. Assignment takes the new reference before it drops
// the old one, so `p = p->next()` is safe even when p held the last reference
// to the object that owns next. A Ptr<T const> gives read-only access.

#include <cstddef>
#include <functional>
#include <type_traits>
#include <utility>

#include <hubstore/foundations/framework/ptr_interface.h>

namespace Vex {

template <class T>
class Ptr {
 public:
  using element_type = T;

  Ptr() noexcept = default;
  Ptr(std::nullptr_t) noexcept {}
  // Takes an additional reference to `raw`.
  Ptr(T* raw) noexcept : raw_(raw) {
    if (raw_) raw_->referencesInc();
  }
  Ptr(const Ptr& other) noexcept : Ptr(other.raw_) {}
  Ptr(Ptr&& other) noexcept : raw_(std::exchange(other.raw_, nullptr)) {}
  template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
  Ptr(const Ptr<U>& other) noexcept : Ptr(other.get()) {}
  template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
  Ptr(Ptr<U>&& other) noexcept : raw_(other.release()) {}
  ~Ptr() {
    if (raw_) raw_->referencesDec();
  }

  Ptr& operator=(const Ptr& other) noexcept {
    Ptr(other).swap(*this);
    return *this;
  }
  Ptr& operator=(Ptr&& other) noexcept {
    Ptr(std::move(other)).swap(*this);
    return *this;
  }
  Ptr& operator=(std::nullptr_t) noexcept {
    Ptr().swap(*this);
    return *this;
  }

  // Adopts a reference that the caller already holds (no increment).
  static Ptr adopt(T* raw) noexcept {
    Ptr p;
    p.raw_ = raw;
    return p;
  }
  // Gives up the reference without dropping it.
  [[nodiscard]] T* release() noexcept { return std::exchange(raw_, nullptr); }

  T* get() const noexcept { return raw_; }
  T* operator->() const noexcept { return raw_; }
  T& operator*() const noexcept { return *raw_; }
  explicit operator bool() const noexcept { return raw_ != nullptr; }
  void swap(Ptr& other) noexcept { std::swap(raw_, other.raw_); }

 private:
  T* raw_ = nullptr;
};

template <class T, class U>
bool operator==(const Ptr<T>& a, const Ptr<U>& b) noexcept {
  return static_cast<const volatile void*>(a.get()) == static_cast<const volatile void*>(b.get());
}
template <class T>
bool operator==(const Ptr<T>& a, std::nullptr_t) noexcept {
  return !a;
}
template <class T, class U>
bool operator==(const Ptr<T>& a, const U* b) noexcept {
  return static_cast<const volatile void*>(a.get()) == static_cast<const volatile void*>(b);
}

// Allocates a T, registers it with the per-type allocation tracking, and
// returns the construction reference.
template <class T, class... Args>
Ptr<T> make(Args&&... args) {
  T* raw = new T(std::forward<Args>(args)...);
  raw->allocationTrackedIs(T::staticType());
  return Ptr<T>::adopt(raw);
}

// Checked downcast; null when `p` is null or of another type.
template <class T, class U>
Ptr<T> ptr_cast(const Ptr<U>& p) {
  return Ptr<T>(dynamic_cast<T*>(p.get()));
}

}  // namespace Vex

template <class T>
struct std::hash<Vex::Ptr<T>> {
  std::size_t operator()(const Vex::Ptr<T>& p) const noexcept { return std::hash<const void*>()(p.get()); }
};
