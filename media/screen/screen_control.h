#ifndef MOVRA_MEDIA_SCREEN_SCREEN_CONTROL_H_
#define MOVRA_MEDIA_SCREEN_SCREEN_CONTROL_H_

#include <cstdint>
#include <functional>
#include <vector>

#include "media/threads/mutex.h"
#include "video/capture_params.h"
#include "video/size.h"
#include "video/video_types.h"

namespace movra::media {

// What a running capture of a screen is told.
struct ScreenSettings {
  video::DesktopScreenParams params;
  bool paused = false;
  std::vector<long> excluded;
  std::vector<long> included;  // Any: these windows alone are shown.
};

// Takes over what is present in an update.
void MergeInto(video::DesktopScreenParams& params, const video::DesktopScreenParams& update);

// How a running capture is told something while it waits for its screen. Any thread.
class ScreenControl {
 public:
  explicit ScreenControl(ScreenSettings settings = {});
  ~ScreenControl();
  ScreenControl(const ScreenControl&) = delete;
  ScreenControl& operator=(const ScreenControl&) = delete;

  // Changes what the capture goes by from its next frame on, and wakes it. `change` is called at
  // once and calls nobody.
  void Change(const std::function<void(ScreenSettings&)>& change);
  void Interrupt();

  [[nodiscard]] bool is_interrupted() const;
  [[nodiscard]] ScreenSettings settings() const;
  // Grows with each change; 1 from the beginning.
  [[nodiscard]] std::uint64_t version() const;

  // Readable since a change or an interruption, until it is cleared.
  [[nodiscard]] int wake_fd() const { return wake_fd_; }
  void ClearWake() const;

 private:
  void Wake() const;

  const int wake_fd_;
  mutable Mutex mutex_;
  ScreenSettings settings_ MOVRA_GUARDED_BY(mutex_);
  std::uint64_t version_ MOVRA_GUARDED_BY(mutex_) = 1;
  bool interrupted_ MOVRA_GUARDED_BY(mutex_) = false;
};

// Hears what becomes of the screen that is captured. On the capture's thread; posts and returns.
class ScreenObserver {
 public:
  virtual ~ScreenObserver() = default;

  virtual void OnPaused(video::VideoScreenSharingPausedReason reason) = 0;
  virtual void OnResumed(video::VideoScreenSharingResumedReason reason) = 0;
  virtual void OnCovered() = 0;
  virtual void OnWindowSize(const video::Size& size) = 0;
  virtual void OnMode(video::CapturerMode from, video::CapturerMode to) = 0;
  // The last of them: what was captured is no more.
  virtual void OnGone(video::VideoScreenSharingStoppedReason reason) = 0;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_SCREEN_SCREEN_CONTROL_H_
