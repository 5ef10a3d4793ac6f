#include "media/capture/camera_failure.h"

#include <cstdint>
#include <utility>

#include "logging/log_message.h"
#include "logging/log_stream.h"

namespace movra::media {

video::CameraInfo CameraFailure(CameraError error, std::string text) {
  video::CameraInfo info;
  info.error_code = static_cast<std::int32_t>(error);
  info.error_text = text.empty() ? CameraErrorToString(error) : std::move(text);
  return info;
}

void WarnOfCamera(std::string_view camera_id, std::string_view what, std::string_view text) {
  if (!movra_logging::ShouldCreateLogMessage(movra_logging::kLogLevelWarning)) return;
  LogStream("../media/capture/camera_failure", __LINE__, __func__, movra_logging::kLogLevelWarning,
            nullptr)
      << "The camera " << camera_id << " " << what << ": " << text;
}

}  // namespace movra::media
