#ifndef MOVRA_MEDIA_SCREEN_X11_SCREEN_SOURCE_H_
#define MOVRA_MEDIA_SCREEN_X11_SCREEN_SOURCE_H_

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "media/capture/frame_source.h"
#include "media/frame/frame_pool.h"
#include "media/screen/screen_control.h"
#include "media/screen/screen_target.h"
#include "media/screen/x11_connection.h"
#include "media/screen/x11_cursor.h"

namespace movra::media {

// A screen or window of an X server as a source of frames: live, without end, I420.
//
// A frame comes when something has changed, at most at the rate that is asked for and at once after
// a pause; where nothing changes, the last picture comes again each second. Time stamps are
// multiples of the rate's interval. A side of an odd number of pixels grows by one, which repeats
// the last: encoders take even sides, and nothing of the picture is lost.
class X11ScreenSource final : public FrameSource {
 public:
  static constexpr std::int32_t kDefaultRate = 30;
  static constexpr std::chrono::seconds kRepeatInterval{1};

  // What the settings name. The observer may be null.
  explicit X11ScreenSource(std::shared_ptr<ScreenControl> control,
                           std::shared_ptr<ScreenObserver> observer = nullptr);
  // What an id names, "screen:NAME" or "window:TITLE".
  explicit X11ScreenSource(std::string id);
  ~X11ScreenSource() override;

  // FrameSource
  [[nodiscard]] video::CameraInfo Describe() override;
  [[nodiscard]] video::CameraInfo Open(const CaptureRequest& request) override;
  [[nodiscard]] SourcePolicy Policy() const override { return {}; }  // Live; it paces itself.
  [[nodiscard]] SourceItem Read(const CaptureRequest& request) override;
  void Interrupt() override { control_->Interrupt(); }

 private:
  using Clock = std::chrono::steady_clock;

  // Connects and finds what is to be captured.
  [[nodiscard]] ScreenTarget::Problem Prepare();

  // A step of Read: an item, or nothing yet when it has waited.
  [[nodiscard]] std::optional<SourceItem> Step(std::int32_t asked_rate);
  void FollowSettings();
  void WarnOfMissing();
  void PumpEvents();
  void FollowPauses(ScreenTarget::State state);
  [[nodiscard]] SourceItem Gone(ScreenTarget::State state);
  // Waits for an event, a change, an interruption or the deadline.
  void Wait(std::optional<Clock::time_point> deadline);

  void SetRate(std::int32_t rate);
  [[nodiscard]] std::int64_t SlotAt(Clock::time_point time) const;
  [[nodiscard]] Clock::time_point TimeOf(std::int64_t slot) const;

  [[nodiscard]] bool captures_cursor() const;
  // Takes a new picture into last_; false if it cannot be had.
  [[nodiscard]] bool TakePicture();
  [[nodiscard]] video::PixelFrame MakeFrame(const Canvas& canvas);
  [[nodiscard]] SourceItem Deliver(std::int64_t slot);

  const std::string id_;
  const std::shared_ptr<ScreenControl> control_;
  const std::shared_ptr<ScreenObserver> observer_;

  std::unique_ptr<X11Connection> connection_;
  std::unique_ptr<ScreenTarget> target_;
  std::optional<X11Cursor> cursor_;
  ScreenSettings settings_;
  std::uint64_t version_ = 0;
  std::string missing_;     // What was told to be missing.
  bool has_change_ = true;  // Of the settings or the cursor, that no picture shows yet.
  bool is_paused_ = false;
  bool is_minimised_ = false;
  bool is_covered_ = false;
  video::Size size_;  // Of the last picture, before it became even.
  video::CapturerMode mode_ = video::CapturerMode::kUnknown;

  // Slots of 1/rate seconds, each with one frame at most, from origin_ on.
  std::int32_t rate_ = 0;
  std::optional<Clock::time_point> start_;  // Of the time stamps: the first frame.
  Clock::time_point origin_;
  std::int64_t last_slot_ = -1;

  FramePool pool_;
  video::PixelFrame last_;
  Clock::time_point last_time_;
  std::uint64_t next_sequence_ = 0;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_SCREEN_X11_SCREEN_SOURCE_H_
