#ifndef MOVRA_MEDIA_SCREEN_X11_WINDOWS_H_
#define MOVRA_MEDIA_SCREEN_X11_WINDOWS_H_

#include <cstdint>
#include <string>
#include <vector>

#include "media/screen/x11_connection.h"

namespace movra::media {

// A window as people see it: one of an application, whatever the window manager put around it.
struct X11Window {
  xcb_window_t id = 0;
  std::string title;  // UTF-8.
  bool minimised = false;
};

// The windows of the applications, the topmost first: as the window manager lists them or, without
// one that does, what is shown on the desktop.
[[nodiscard]] std::vector<X11Window> ListWindows(X11Connection& connection);

[[nodiscard]] std::string TitleOf(X11Connection& connection, xcb_window_t window);

// Whether it is put away into a list of tasks. One that is gone is not.
[[nodiscard]] bool IsMinimised(X11Connection& connection, xcb_window_t window);

// The child of the desktop that holds the window: the window manager's frame, or the window itself.
// 0 if the window is gone.
[[nodiscard]] xcb_window_t FrameOf(const X11Connection& connection, xcb_window_t window);

// Asks the window manager to bring the window to the front and to give it the keyboard.
void Activate(X11Connection& connection, xcb_window_t window);

// The process that made the window; 0 where it does not say.
[[nodiscard]] std::uint32_t ProcessOf(X11Connection& connection, xcb_window_t window);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_SCREEN_X11_WINDOWS_H_
