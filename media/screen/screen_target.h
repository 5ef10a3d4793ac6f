#ifndef MOVRA_MEDIA_SCREEN_SCREEN_TARGET_H_
#define MOVRA_MEDIA_SCREEN_SCREEN_TARGET_H_

#include <chrono>
#include <optional>

#include "media/capture/camera_error.h"
#include "media/result/result.h"
#include "media/screen/screen_control.h"
#include "media/screen/x11_connection.h"
#include "media/screen/x11_image.h"
#include "video/capture_params.h"
#include "video/video_types.h"

namespace movra::media {

// What is captured: the desktop, a monitor, a window. One thread, the connection's.
class ScreenTarget {
 public:
  using Clock = std::chrono::steady_clock;
  using Problem = std::optional<Failure<CameraError>>;

  // What has become of it.
  enum class State { kThere, kMinimised, kGone };

  virtual ~ScreenTarget() = default;

  // Once, before everything else: looks for it and has the server tell of its changes.
  [[nodiscard]] virtual Problem Open(const ScreenSettings& settings) = 0;

  // What cannot be done leaves the target as it was, and is said.
  [[nodiscard]] virtual Problem Change(const ScreenSettings& settings) = 0;

  virtual void OnEvent(const xcb_generic_event_t& event) = 0;

  // Follows what the events told, and looks for what no event tells.
  [[nodiscard]] virtual State Update(Clock::time_point now) = 0;
  // When Update has something to do without an event.
  [[nodiscard]] virtual std::optional<Clock::time_point> wake_at() const { return std::nullopt; }

  // Whether the picture may be another one than that of the last Grab.
  [[nodiscard]] virtual bool has_news() const = 0;
  // Whether there is a picture worth taking; until there is, the last one stands.
  [[nodiscard]] virtual bool can_grab() const { return true; }
  // Whether other windows lie on it.
  [[nodiscard]] virtual bool is_covered() const { return false; }

  // The picture as it is now; null if it cannot be had at the moment.
  [[nodiscard]] virtual const Canvas* Grab() = 0;

  // The part of the desktop that the picture shows, for the cursor.
  [[nodiscard]] virtual video::Region part() const = 0;
  [[nodiscard]] virtual video::CapturerMode mode() const = 0;
  // Of a target that is kGone.
  [[nodiscard]] virtual video::VideoScreenSharingStoppedReason why_gone() const = 0;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_SCREEN_SCREEN_TARGET_H_
