#include <hubstore/foundations/framework/owner_link.h>

namespace Vex {

void OwnerLinkBase::linkTo(OwnerLinks* links) {
  unlink();
  links_ = links;
  prev_ = links->tail_;
  next_ = nullptr;
  (prev_ ? prev_->next_ : links->head_) = this;
  links->tail_ = this;
}

void OwnerLinkBase::unlink() {
  if (!links_) return;
  (prev_ ? prev_->next_ : links_->head_) = next_;
  (next_ ? next_->prev_ : links_->tail_) = prev_;
  links_ = nullptr;
  prev_ = next_ = nullptr;
}

void OwnerLinks::ownerGone() {
  // Always the current head: a handler may unlink (or destroy) any member.
  while (OwnerLinkBase* link = head_) {
    link->unlink();
    link->ownerGone();
  }
}

}  // namespace Vex
