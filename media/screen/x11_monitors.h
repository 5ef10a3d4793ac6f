#ifndef MOVRA_MEDIA_SCREEN_X11_MONITORS_H_
#define MOVRA_MEDIA_SCREEN_X11_MONITORS_H_

#include <string>
#include <vector>

#include "media/screen/x11_connection.h"
#include "video/capture_params.h"

namespace movra::media {

// A monitor: the number by which its name is known to the server stays while the server runs, and
// no window has one as small.
struct X11Monitor {
  xcb_atom_t id = XCB_ATOM_NONE;
  std::string name;
  video::Region area;  // On the desktop.
};

// The monitors that are in use, the main one first. Empty only where the server is gone.
[[nodiscard]] std::vector<X11Monitor> ListMonitors(const X11Connection& connection);

// What two areas share; without width and height if that is nothing.
[[nodiscard]] video::Region Intersection(const video::Region& a, const video::Region& b);
[[nodiscard]] inline bool IsEmpty(const video::Region& area) {
  return area.width <= 0 || area.height <= 0;
}

}  // namespace movra::media

#endif  // MOVRA_MEDIA_SCREEN_X11_MONITORS_H_
