#ifndef MOVRA_MEDIA_SCREEN_DESKTOP_TARGET_H_
#define MOVRA_MEDIA_SCREEN_DESKTOP_TARGET_H_

#include <memory>

#include "media/screen/desktop_composer.h"
#include "media/screen/screen_target.h"
#include "media/screen/x11_monitors.h"

namespace movra::media {

// The whole desktop or one monitor, or a part of either: copied off the screen or, where windows
// are to be left out, put together from the others.
class DesktopTarget final : public ScreenTarget {
 public:
  // `monitor`: its number, or 0 for the whole desktop.
  DesktopTarget(X11Connection& connection, xcb_atom_t monitor)
      : connection_(connection), monitor_(monitor), image_(connection) {}

  // ScreenTarget
  [[nodiscard]] Problem Open(const ScreenSettings& settings) override;
  [[nodiscard]] Problem Change(const ScreenSettings& settings) override;
  void OnEvent(const xcb_generic_event_t& event) override;
  [[nodiscard]] State Update(Clock::time_point now) override;
  [[nodiscard]] bool has_news() const override { return has_news_; }
  [[nodiscard]] const Canvas* Grab() override;
  [[nodiscard]] video::Region part() const override { return part_; }
  [[nodiscard]] video::CapturerMode mode() const override;
  [[nodiscard]] video::VideoScreenSharingStoppedReason why_gone() const override {
    return video::VideoScreenSharingStoppedReason::kMonitorGone;
  }

 private:
  // Where it is on the desktop; an empty one if it is no more.
  [[nodiscard]] video::Region FindArea() const;
  [[nodiscard]] Problem SetWindows(const ScreenSettings& settings);
  [[nodiscard]] Problem SetRegion(const movra_base::Optional<video::Region>& region);

  X11Connection& connection_;
  const xcb_atom_t monitor_;
  X11Image image_;
  xcb_damage_damage_t damage_ = 0;
  video::Region area_;  // Of the desktop or the monitor.
  movra_base::Optional<video::Region> region_;
  video::Region part_;  // What is captured of it, on the desktop.
  ComposedWindows windows_;
  std::unique_ptr<DesktopComposer> composer_;  // Null where all windows are shown.
  bool has_news_ = true;
  bool has_moved_ = false;  // Monitors may have changed.
  Clock::time_point looked_at_{};
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_SCREEN_DESKTOP_TARGET_H_
