#ifndef MOVRA_MEDIA_CAPTURE_CALL_SOURCE_H_
#define MOVRA_MEDIA_CAPTURE_CALL_SOURCE_H_

#include <new>
#include <string_view>
#include <utility>

#include "logging/guarded_call.h"
#include "media/capture/camera_error.h"

namespace movra::media {

// Runs a camera's own code, which may be the application's. What it throws is told in one warning
// line that `whose` begins, and answered as `otherwise`, or as kNoResources where memory was out;
// kNone when it returned.
template <class Call>
[[nodiscard]] CameraError CallSource(std::string_view whose, CameraError otherwise, Call&& call) {
  CameraError thrown = otherwise;
  const bool returned = movra_logging::CallGuarded(whose, [&] {
    try {
      std::forward<Call>(call)();
    } catch (const std::bad_alloc&) {
      thrown = CameraError::kNoResources;
      throw;
    }
  });
  return returned ? CameraError::kNone : thrown;
}

}  // namespace movra::media

#endif  // MOVRA_MEDIA_CAPTURE_CALL_SOURCE_H_
