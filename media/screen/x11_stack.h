#ifndef MOVRA_MEDIA_SCREEN_X11_STACK_H_
#define MOVRA_MEDIA_SCREEN_X11_STACK_H_

#include <vector>

#include "media/screen/x11_connection.h"
#include "video/capture_params.h"
#include "video/size.h"

namespace movra::media {

// A child of the desktop that is shown: a window manager's frame with the window in it, a menu, a
// window that nobody manages.
struct StackedWindow {
  xcb_window_t id = 0;
  video::Region area;  // On the desktop, with its border.
};

// From the bottom to the top.
[[nodiscard]] std::vector<StackedWindow> ListStack(const X11Connection& connection);

// Whether another window lies on any part of this child of the desktop that the desktop shows.
[[nodiscard]] bool IsCovered(const std::vector<StackedWindow>& stack, xcb_window_t frame,
                             const video::Region& desktop);

// The parts of the window that are shown, in pixels of its picture without the border; empty for
// one without a shape of its own, which is shown whole.
[[nodiscard]] std::vector<video::Region> ShapeOf(const X11Connection& connection,
                                                 xcb_window_t window, const video::Size& size);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_SCREEN_X11_STACK_H_
