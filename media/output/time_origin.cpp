#include "media/output/time_origin.h"

namespace movra::media {

std::chrono::nanoseconds TimeOrigin::Since(std::chrono::nanoseconds timestamp) {
  const std::lock_guard lock(mutex_);
  if (!origin_.has_value()) origin_ = timestamp;
  return timestamp - *origin_;
}

}  // namespace movra::media
