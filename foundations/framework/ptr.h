#pragma once
/// \class Vex::Ptr
/// An intrusive counted pointer to a Vex::PtrInterface.
///
///     Ptr<Record> r = Vex::make<Record>(...);  // takes the construction reference
///     Ptr<Record const> view = r;              // read-only view, count 2
///     r = other;                               // installs `other`, then releases the old
///
/// Null is a valid value. Assignment takes the new reference before it drops
/// the old one, so `p = p->next()` is safe even when p held the last reference
/// to the object that owns next. A `Ptr<T const>` gives read-only access.

#include <cstddef>
#include <functional>
#include <type_traits>
#include <utility>

#include <hubstore/foundations/framework/ptr_interface.h>

namespace Vex {

template <class T>
class Ptr {
 public:
  /// The pointee type.
  using element_type = T;

  /// Null.
  ///@{
  Ptr() noexcept = default;
  Ptr(std::nullptr_t) noexcept {}
  ///@}
  /// Takes an additional reference to `raw`.
  Ptr(T* raw) noexcept : raw_(raw) {
    if (raw_) raw_->referencesInc();
  }
  /// Copies take a reference; moves take over the other's, leaving it null.
  /// A `Ptr<U>` converts when a `U*` converts to a `T*`.
  ///@{
  Ptr(const Ptr& other) noexcept : Ptr(other.raw_) {}
  Ptr(Ptr&& other) noexcept : raw_(std::exchange(other.raw_, nullptr)) {}
  template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
  Ptr(const Ptr<U>& other) noexcept : Ptr(other.get()) {}
  template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
  Ptr(Ptr<U>&& other) noexcept : raw_(other.release()) {}
  ///@}
  /// Drops the reference, if any.
  ~Ptr() {
    if (raw_) raw_->referencesDec();
  }

  /// Installs the new value, then releases the old one.
  ///@{
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
  ///@}

  /// Adopts a reference that the caller already holds (no increment).
  static Ptr adopt(T* raw) noexcept {
    Ptr p;
    p.raw_ = raw;
    return p;
  }
  /// Gives up the reference without dropping it.
  [[nodiscard]] T* release() noexcept { return std::exchange(raw_, nullptr); }

  /// The pointee, without a change of count; get() and `->` may be null.
  ///@{
  T* get() const noexcept { return raw_; }
  T* operator->() const noexcept { return raw_; }
  T& operator*() const noexcept { return *raw_; }
  ///@}
  /// Whether it is not null.
  explicit operator bool() const noexcept { return raw_ != nullptr; }
  /// Exchanges the pointees, without a change of count.
  void swap(Ptr& other) noexcept { std::swap(raw_, other.raw_); }

 private:
  T* raw_ = nullptr;
};

/// Identity: equal when both point at the same object (or both are null).
///@{
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
///@}

/// Allocates a T, registers it with the per-type allocation tracking, and
/// returns the construction reference.
template <class T, class... Args>
Ptr<T> make(Args&&... args) {
  T* raw = new T(std::forward<Args>(args)...);
  raw->allocationTrackedIs(T::staticType());
  return Ptr<T>::adopt(raw);
}

/// Checked downcast; null when `p` is null or of another type.
template <class T, class U>
Ptr<T> ptr_cast(const Ptr<U>& p) {
  return Ptr<T>(dynamic_cast<T*>(p.get()));
}

}  // namespace Vex

/// Hashes a Vex::Ptr by the address it holds, for unordered containers.
template <class T>
struct std::hash<Vex::Ptr<T>> {
  /// The hash of the pointee's address.
  std::size_t operator()(const Vex::Ptr<T>& p) const noexcept { return std::hash<const void*>()(p.get()); }
};
