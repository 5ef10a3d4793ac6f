#ifndef MOVRA_MEDIA_SCREEN_DESKTOP_COMPOSER_H_
#define MOVRA_MEDIA_SCREEN_DESKTOP_COMPOSER_H_

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <vector>

#include "media/screen/x11_connection.h"
#include "media/screen/x11_image.h"
#include "media/screen/x11_stack.h"
#include "video/capture_params.h"

namespace movra::media {

// Which windows a composed desktop shows.
struct ComposedWindows {
  std::vector<long> excluded;
  std::vector<long> included;  // Any: these alone, over black.
  bool excludes_own = false;   // Those of this process.

  [[nodiscard]] bool shows_all() const {
    return excluded.empty() && included.empty() && !excludes_own;
  }
  friend bool operator==(const ComposedWindows&, const ComposedWindows&) = default;
};

// Puts the desktop together from its windows, without those that are to be left out: what lies
// beneath these is seen, and keeps moving. For that the server keeps the pictures of all windows
// apart while this lives.
//
// No pixel of an excluded window may be seen, not even one that another window's picture has begun
// with: a window that has been painted over none of that yet is black where it may have some. One
// thread, the connection's.
class DesktopComposer {
 public:
  explicit DesktopComposer(X11Connection& connection)
      : connection_(connection), image_(connection) {}
  ~DesktopComposer();
  DesktopComposer(const DesktopComposer&) = delete;
  DesktopComposer& operator=(const DesktopComposer&) = delete;

  // Once; false if the server refuses, and nothing can be composed.
  [[nodiscard]] bool Start();

  // Whether the event tells of something that a picture would show.
  bool OnEvent(const xcb_generic_event_t& event);

  // That part of the desktop; null if it cannot be had at the moment.
  [[nodiscard]] const Canvas* Compose(const video::Region& part, const ComposedWindows& windows);

 private:
  using Clock = std::chrono::steady_clock;

  struct Watched {
    xcb_damage_damage_t damage = 0;
    // Where its picture may have begun with pixels of excluded windows, on the desktop. Absent
    // until that is looked at; none once it has been painted.
    std::optional<std::vector<video::Region>> suspect{};
  };

  void Watch(xcb_window_t window);
  // Has a window that is shown, or those directly in it, paint themselves.
  void RequestRepaint(xcb_window_t window);
  void FindSuspects(const std::vector<StackedWindow>& stack, const std::set<xcb_window_t>& hidden);
  void SubtractDamage();
  [[nodiscard]] bool ComposeGrabbed(const video::Region& part, const ComposedWindows& windows);
  // The children of the desktop that hold these windows.
  [[nodiscard]] std::set<xcb_window_t> FramesOf(const std::vector<long>& windows) const;
  [[nodiscard]] std::set<xcb_window_t> HiddenFrames(const std::vector<StackedWindow>& stack,
                                                    const ComposedWindows& windows);
  void DrawBackground(const video::Region& part);
  void FetchBackground(const video::Region& desktop);
  void DrawWindow(const StackedWindow& window, const video::Region& part);
  void Blacken(const video::Region& area, const video::Region& part);

  X11Connection& connection_;
  X11Image image_;
  bool has_begun_ = false;  // With the pictures of the windows that were there at first.
  std::map<xcb_window_t, Watched> watched_;
  std::set<xcb_damage_damage_t> damaged_;
  std::vector<std::uint8_t> pixels_;
  Canvas canvas_;
  std::vector<std::uint8_t> background_;  // Of the whole desktop.
  video::Region background_area_;
  Clock::time_point background_time_{};
  xcb_window_t background_window_ = 0;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_SCREEN_DESKTOP_COMPOSER_H_
