#include "media/capture/release.h"

#include <utility>

namespace movra::media {

void Release::Then(std::function<void()> callback) {
  {
    const std::lock_guard lock(mutex_);
    if (!done_) {
      callbacks_.push_back(std::move(callback));
      return;
    }
  }
  callback();
}

void Release::Done() {
  std::vector<std::function<void()>> callbacks;
  {
    const std::lock_guard lock(mutex_);
    done_ = true;
    callbacks.swap(callbacks_);
  }
  for (const auto& callback : callbacks) callback();
}

}  // namespace movra::media
