#ifndef MOVRA_MEDIA_CAPTURE_REFUSED_SOURCE_H_
#define MOVRA_MEDIA_CAPTURE_REFUSED_SOURCE_H_

#include <string>
#include <utility>

#include "media/capture/camera_error.h"
#include "media/capture/camera_failure.h"
#include "media/capture/frame_source.h"
#include "video/camera_service.h"

namespace movra::media {

// Stands for a source that cannot be, and says why.
class RefusedSource final : public FrameSource {
 public:
  // `text` is for people.
  RefusedSource(CameraError error, std::string text)
      : info_(CameraFailure(error, std::move(text))) {}

  // FrameSource
  [[nodiscard]] video::CameraInfo Describe() override { return info_; }
  [[nodiscard]] video::CameraInfo Open(const CaptureRequest& /*request*/) override { return info_; }
  [[nodiscard]] SourcePolicy Policy() const override { return {}; }
  [[nodiscard]] SourceItem Read(const CaptureRequest& /*request*/) override {
    return video::StreamEnd{};
  }
  void Interrupt() override {}

 private:
  const video::CameraInfo info_;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_CAPTURE_REFUSED_SOURCE_H_
