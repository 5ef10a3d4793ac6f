#ifndef MOVRA_MEDIA_SCREEN_WINDOW_TARGET_H_
#define MOVRA_MEDIA_SCREEN_WINDOW_TARGET_H_

#include "media/screen/screen_target.h"

namespace movra::media {

// One window by itself, whatever covers it and wherever it is: the server keeps its picture apart
// (it is redirected), so that all of it can be read. What was covered when that began has no pixels
// until the window's program paints them, which is waited for a while.
class WindowTarget final : public ScreenTarget {
 public:
  // How long a program is waited for that has to paint.
  static constexpr std::chrono::milliseconds kLongestRepaint{500};

  WindowTarget(X11Connection& connection, xcb_window_t window)
      : connection_(connection), window_(window), image_(connection) {}

  // ScreenTarget
  [[nodiscard]] Problem Open(const ScreenSettings& settings) override;
  [[nodiscard]] Problem Change(const ScreenSettings& settings) override;
  void OnEvent(const xcb_generic_event_t& event) override;
  [[nodiscard]] State Update(Clock::time_point now) override;
  [[nodiscard]] std::optional<Clock::time_point> wake_at() const override { return repaint_by_; }
  [[nodiscard]] bool has_news() const override { return has_news_; }
  [[nodiscard]] bool can_grab() const override {
    return !repaint_by_ && (captures_covered_ || !is_covered_);
  }
  [[nodiscard]] bool is_covered() const override { return is_covered_; }
  [[nodiscard]] const Canvas* Grab() override;
  [[nodiscard]] video::Region part() const override { return part_; }
  [[nodiscard]] video::CapturerMode mode() const override { return video::CapturerMode::kWindow; }
  [[nodiscard]] video::VideoScreenSharingStoppedReason why_gone() const override {
    return video::VideoScreenSharingStoppedReason::kSourceClosed;
  }

 private:
  // Has the server tell of the window's changes; false if it is gone.
  [[nodiscard]] bool Watch();
  // Looks at the window anew; false if it is gone.
  [[nodiscard]] bool Look();
  void ForgetPixmap();
  // From now on until it has painted.
  void AwaitRepaint();
  void SubtractDamage();
  // What of the window is captured, in its own pixels.
  [[nodiscard]] video::Region Wanted() const;
  void CutToShape(const video::Region& wanted);

  X11Connection& connection_;
  const xcb_window_t window_;
  X11Image image_;
  xcb_damage_damage_t damage_ = 0;
  xcb_pixmap_t pixmap_ = 0;
  video::Size size_;    // Of the window, without its border.
  video::Region part_;  // Of the desktop, what is captured.
  movra_base::Optional<video::Region> region_;
  bool captures_covered_ = true;
  bool was_activated_ = false;

  bool has_changed_ = true;  // The window or those around it, since the last look.
  bool has_news_ = true;
  bool is_destroyed_ = false;
  bool is_minimised_ = false;
  bool is_covered_ = false;
  std::optional<Clock::time_point> repaint_by_;  // Its program is still to paint.
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_SCREEN_WINDOW_TARGET_H_
