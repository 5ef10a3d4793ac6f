#include "media/frame/kept_share.h"

namespace movra::media {
namespace {

thread_local KeptShare* innermost = nullptr;

bool IsSameOwner(const std::weak_ptr<const void>& a, const std::shared_ptr<const void>& b) {
  return !a.owner_before(b) && !b.owner_before(a);
}

}  // namespace

KeptShare::KeptShare(const video::PixelFrame& frame) : owner_(frame.owner()), before_(innermost) {
  innermost = this;
}

KeptShare::~KeptShare() { innermost = before_; }

bool KeptShare::TakeForWriting(const std::shared_ptr<const void>& owner) {
  long others = owner.use_count() - 1;
  KeptShare* found = nullptr;
  for (KeptShare* share = innermost; share != nullptr; share = share->before_) {
    if (!IsSameOwner(share->owner_, owner)) continue;
    --others;
    found = share;
  }
  if (others != 0) return false;
  if (found != nullptr) found->is_written_ = true;
  return true;
}

}  // namespace movra::media
