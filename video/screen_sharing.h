#ifndef MOVRA_VIDEO_SCREEN_SHARING_H_
#define MOVRA_VIDEO_SCREEN_SHARING_H_

#include <cstdint>
#include <memory>
#include <vector>

#include "video/capture_params.h"
#include "video/pixel_frame_track.h"
#include "video/screen_source_info.h"
#include "video/size.h"
#include "video/video_context.h"
#include "video/video_types.h"

namespace movra::video {

// Captures a desktop screen, a window or a mobile screen into the writers it is given. Called on
// the main queue; captures on a thread of its own and reports to its client on the main queue.
// Writer, client and window lists stay between captures.
class IScreenSharing {
 public:
  // Receives events on the main queue. `source` is the id of the shared screen or window.
  class Client {
   public:
    virtual ~Client() = default;
    virtual void OnScreenSharingError(long source, VideoScreenSharingError error) = 0;
    virtual void OnScreenSharingStarted(long source) = 0;
    virtual void OnScreenSharingStopped(long source, VideoScreenSharingStoppedReason reason) = 0;
    virtual void OnScreenSharingPaused(long source, VideoScreenSharingPausedReason reason) = 0;
    virtual void OnScreenSharingResumed(long source, VideoScreenSharingResumedReason reason) = 0;
    // `elapsed_ms`: milliseconds from the start to the first frame.
    virtual void OnScreenSharingFirstFrame(long source, long long elapsed_ms) = 0;
    virtual void OnWindowCovered(long source) = 0;
    virtual void OnScreenSharingWindowSizeChanged(long source, const Size& size) = 0;
    virtual void OnCapturerModeChange(long source, CapturerMode from, CapturerMode to) = 0;
  };

  [[nodiscard]] static std::shared_ptr<IScreenSharing> Create(const VideoContext& context);

  // What can be shared, with pictures of at most the given sizes (0x0: none).
  [[nodiscard]] static std::vector<ScreenSourceInfo> GetSourceList(const Size& thumbnail,
                                                                   const Size& icon);

  virtual ~IScreenSharing() = default;

  virtual void AddOutputWriter(std::shared_ptr<IPixelFrameTrackWriter> writer) = 0;
  virtual void RemoveOutputWriter(std::shared_ptr<IPixelFrameTrackWriter> writer) = 0;
  virtual void StartDesktopCapture(const DesktopScreenParams& params) = 0;
  virtual void StartMobileCapture(const MobileScreenParams& params) = 0;
  // Called at every stop of any source; harmless when nothing runs.
  virtual void Stop() = 0;
  virtual void UpdateDesktopScreenParams(const DesktopScreenParams& params) = 0;
  virtual void UpdateMobileScreenParams(const MobileScreenParams& params) = 0;
  // Called for a pause of any source; harmless when nothing runs.
  virtual void Pause() = 0;
  virtual void Resume() = 0;
  // The capturer keeps its client weakly.
  virtual void SetClient(std::shared_ptr<Client> client) = 0;
  // The number of frames captured since the last start.
  [[nodiscard]] virtual std::uint32_t GetCaptureStat() = 0;
  virtual void AddExcludedShareWindow(long window) = 0;
  virtual void RemoveExcludedShareWindow(long window) = 0;
  virtual void RemoveAllExcludedShareWindow() = 0;
  virtual void AddIncludedShareWindow(long window) = 0;
  virtual void RemoveIncludedShareWindow(long window) = 0;
  virtual void RemoveAllIncludedShareWindow() = 0;
};

}  // namespace movra::video

#endif  // MOVRA_VIDEO_SCREEN_SHARING_H_
