#pragma once
/// \file
/// Vex::OwnerLink: a member's plain back pointer to its owner, which the owner
/// clears when it goes away; Vex::OwnerLinks: the owner's side, every link that
/// points at it.
///
/// Owners hold their members by counted pointers and members point back with
/// plain ones. An agent may keep a member alive past its owner (a mount group
/// past its service, a per-switch machine past its group), and a hook may
/// release the owner while one of its members is still running. So every
/// back pointer is an OwnerLink registered with the owner, and the owner, while
/// it is still whole, tells each member that outlives it:
///
///      class Machine : public Vex::PtrInterface {
///        explicit Machine(Service* service)
///            : service_(service, service ? &service->machineLinks_ : nullptr, this, &Machine::handleServiceGone) {}
///        void handleServiceGone();            // withdraw, go quiet; service_ is still set here
///        Vex::OwnerLink<Service, Machine> service_;
///      };
///      Service::~Service() { ...release members...; machineLinks_.ownerGone(); }
///
/// ownerGone() runs each still-linked member's handler, in the order the links
/// were made, with the member held for the length of the call; afterwards the
/// link reads null. A member that dies first simply unlinks. Links cost no
/// allocation: they are threaded through the members themselves.

#include <hubstore/foundations/framework/ptr.h>

namespace Vex {

class OwnerLinks;

/// The untyped part of an OwnerLink: its place in the owner's OwnerLinks.
class OwnerLinkBase {
 public:
  /// Not copyable: the owner's list points at the link itself.
  ///@{
  OwnerLinkBase(const OwnerLinkBase&) = delete;
  OwnerLinkBase& operator=(const OwnerLinkBase&) = delete;
  ///@}

 protected:
  /// Not linked.
  OwnerLinkBase() = default;
  /// Unlinks, so a member that dies first is forgotten by its owner.
  ~OwnerLinkBase() { unlink(); }
  /// Appends the link to `links` (unlinking it from any list first).
  void linkTo(OwnerLinks* links);
  /// Takes the link out of its list, if it is in one.
  void unlink();

 private:
  friend class OwnerLinks;
  // Called once the link is out of its owner's list.
  virtual void ownerGone() = 0;

  OwnerLinks* links_ = nullptr;
  OwnerLinkBase* prev_ = nullptr;
  OwnerLinkBase* next_ = nullptr;
};

/// The owner's side: every OwnerLink that points at the owner, in the order
/// they were made.
class OwnerLinks {
 public:
  /// No links.
  OwnerLinks() = default;
  /// Not copyable: the links point into this list.
  ///@{
  OwnerLinks(const OwnerLinks&) = delete;
  OwnerLinks& operator=(const OwnerLinks&) = delete;
  ///@}
  /// Calls ownerGone(). An owner calls ownerGone() itself while it is whole;
  /// this is the backstop.
  ~OwnerLinks() { ownerGone(); }

  /// Tells every linked member, first linked first, that the owner is going.
  /// A handler may release anything, other linked members included. The list
  /// is empty afterwards.
  void ownerGone();
  /// Whether no member is linked.
  bool empty() const { return head_ == nullptr; }

 private:
  friend class OwnerLinkBase;
  OwnerLinkBase* head_ = nullptr;
  OwnerLinkBase* tail_ = nullptr;
};

/// A member's back pointer to its Owner: it reads the owner until the owner
/// goes, then runs the member's handler once and reads null.
template <class Owner, class Member>
class OwnerLink final : public OwnerLinkBase {
 public:
  /// The member's handler for the owner's going: runs while the link still
  /// reads the owner.
  using Handler = void (Member::*)();

  /// Links `member` to `owner` through the owner's `links`; a null owner links
  /// nothing and the link reads null.
  OwnerLink(Owner* owner, OwnerLinks* links, Member* member, Handler handler)
      : owner_(owner), member_(member), handler_(handler) {
    if (owner_ && links) linkTo(links);
  }

  /// The owner, not counted; null once it has gone (or if there was none).
  ///@{
  Owner* get() const { return owner_; }
  Owner* operator->() const { return owner_; }
  ///@}
  /// Whether the owner is still there.
  explicit operator bool() const { return owner_ != nullptr; }

 private:
  void ownerGone() override {
    // The handler may drop what keeps the member alive; it dies after the call.
    const Ptr<Member> held(member_->references() ? member_ : nullptr);
    (member_->*handler_)();
    owner_ = nullptr;
  }

  Owner* owner_;
  Member* member_;
  Handler handler_;
};

}  // namespace Vex
