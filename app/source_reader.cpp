#include "app/source_reader.h"

#include <atomic>
#include <cstdint>
#include <utility>

#include "base/once_callback.h"
#include "media/capture/camera_error.h"
#include "media/capture/capture_clock.h"
#include "media/capture/source_capture.h"
#include "media/sources/source_kinds.h"
#include "media/track/bounded_track.h"

namespace movra::app {
namespace {

// What lives as long as the reader.
struct RunningSource {
  explicit RunningSource(const std::string& id)
      : capture(std::make_shared<media::SourceCapture>(
            media::SourceCapture::Camera{id, movra_base::BindOnce(&media::MakeFrameSource, id)},
            track.GetWriter(), media::CaptureRequest{},
            std::make_shared<const media::CaptureClock>(),
            std::make_shared<std::atomic<std::uint32_t>>(0))) {}
  ~RunningSource() { capture->Stop(); }
  RunningSource(const RunningSource&) = delete;
  RunningSource& operator=(const RunningSource&) = delete;

  media::BoundedTrack track{1};
  const std::shared_ptr<media::SourceCapture> capture;
};

}  // namespace

Result<std::shared_ptr<video::IPixelFrameTrackReader>> OpenSourceReader(
    const std::string& id, std::function<void(const std::string& why)> on_failure) {
  if (media::FindSourceKind(id) == nullptr) {
    return Failure{ExitCode::kUnknownCamera,
                   "'" + id + "' names no source; write " + media::SourceForms()};
  }
  auto running = std::make_shared<RunningSource>(id);
  const bool started =
      running->capture->Start([on_failure = std::move(on_failure)](const video::CameraInfo& info) {
        if (info.error_code == 0) return;
        on_failure(info.error_text);
      });
  if (!started) return Failure{ExitCode::kNoResources, "the system has no thread left"};
  const auto reader = running->track.GetReader();
  return std::shared_ptr<video::IPixelFrameTrackReader>(std::move(running), reader.get());
}

}  // namespace movra::app
