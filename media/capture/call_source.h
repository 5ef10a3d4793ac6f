#ifndef MOVRA_MEDIA_CAPTURE_CALL_SOURCE_H_
#define MOVRA_MEDIA_CAPTURE_CALL_SOURCE_H_

#include <new>
#include <optional>
#include <utility>

#include "logging/guarded_call.h"
#include "media/capture/camera_error.h"
#include "media/result/result.h"

namespace movra::media {

// Runs a camera's own code, which may be the application's. What it throws is told in one warning
// line that `whose` begins (logging/guarded_call.h), and answered as `otherwise`, or as
// kNoResources where memory was out, with a text that says what was thrown; nothing when it
// returned.
template <class Whose, class Call>
[[nodiscard]] std::optional<Failure<CameraError>> CallSource(const Whose& whose,
                                                             CameraError otherwise, Call&& call) {
  Failure<CameraError> threw{otherwise, {}};
  const bool returned = movra_logging::CallGuarded(whose, [&] {
    try {
      std::forward<Call>(call)();
    } catch (const std::bad_alloc&) {
      threw.code = CameraError::kNoResources;
      throw;
    } catch (...) {
      threw.text =
          CameraErrorToString(otherwise) + ": " + movra_logging::internal::DescribeThrown();
      throw;
    }
  });
  if (returned) return std::nullopt;
  if (threw.text.empty()) threw.text = CameraErrorToString(threw.code);
  return threw;
}

}  // namespace movra::media

#endif  // MOVRA_MEDIA_CAPTURE_CALL_SOURCE_H_
