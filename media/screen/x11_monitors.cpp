#include "media/screen/x11_monitors.h"

#include <algorithm>
#include <cstdint>

namespace movra::media {

std::vector<X11Monitor> ListMonitors(const X11Connection& connection) {
  std::vector<X11Monitor> monitors;
  const auto reply =
      connection.Ask(xcb_randr_get_monitors_reply,
                     xcb_randr_get_monitors(connection.xcb(), connection.root(), /*get_active=*/1));
  if (reply == nullptr) return monitors;
  for (auto each = xcb_randr_get_monitors_monitors_iterator(reply.get()); each.rem > 0;
       xcb_randr_monitor_info_next(&each)) {
    const xcb_randr_monitor_info_t& info = *each.data;
    X11Monitor monitor{
        info.name, connection.AtomName(info.name), {info.x, info.y, info.width, info.height}};
    const auto place = info.primary != 0 ? monitors.begin() : monitors.end();
    monitors.insert(place, std::move(monitor));
  }
  return monitors;
}

video::Region Intersection(const video::Region& a, const video::Region& b) {
  const std::int64_t left = std::max(a.x, b.x);
  const std::int64_t top = std::max(a.y, b.y);
  const std::int64_t right = std::min(std::int64_t{a.x} + a.width, std::int64_t{b.x} + b.width);
  const std::int64_t bottom = std::min(std::int64_t{a.y} + a.height, std::int64_t{b.y} + b.height);
  if (right <= left || bottom <= top) return {};
  return {static_cast<std::int32_t>(left), static_cast<std::int32_t>(top),
          static_cast<std::int32_t>(right - left), static_cast<std::int32_t>(bottom - top)};
}

}  // namespace movra::media
