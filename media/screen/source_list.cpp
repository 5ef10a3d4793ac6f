#include "media/screen/source_list.h"

#include <poll.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <memory>
#include <set>
#include <utility>

#include "media/frame/frame_pool.h"
#include "media/frame/platform_objects.h"
#include "media/frame/scale_frame.h"
#include "media/screen/screen_source.h"
#include "media/screen/x11_image.h"
#include "media/screen/x11_monitors.h"
#include "media/screen/x11_stack.h"
#include "media/screen/x11_windows.h"

namespace movra::media {

using video::PixelFormat;
using video::PixelFrame;
using video::Region;
using video::ScreenSource;
using video::ScreenSourceInfo;
using video::Size;
using Image = std::shared_ptr<video::ObjcWrapper<NSImage>>;

namespace {

// The main queue waits for it, so it is short of what a capture waits.
constexpr std::chrono::milliseconds kLongestRepaint{100};
constexpr std::uint8_t kEventMask = 0x7F;

// The largest size of the same shape within `box`, never enlarged.
Size Within(const Size& size, const Size& box) {
  if (size.width <= box.width && size.height <= box.height) return size;
  const std::int64_t by_width = std::int64_t{size.height} * box.width / size.width;
  if (by_width <= box.height) {
    return {box.width, std::max(static_cast<std::int32_t>(by_width), 1)};
  }
  const std::int64_t by_height = std::int64_t{size.width} * box.height / size.height;
  return {std::max(static_cast<std::int32_t>(by_height), 1), box.height};
}

// A picture of four bytes a pixel, within the box. Null where nothing is asked for.
Image MakeImage(const std::uint8_t* pixels, int stride, const Size& size, const Size& box,
                bool is_opaque) {
  if (box.width <= 0 || box.height <= 0) return nullptr;
  FramePool pool;
  WritableFrame frame = pool.Allocate(PixelFormat::kBGRA, size);
  if (!frame) return nullptr;
  for (int y = 0; y < size.height; ++y) {
    std::uint8_t* const row = frame.plane(0) + static_cast<std::ptrdiff_t>(y) * frame.stride(0);
    std::memcpy(row, pixels + static_cast<std::ptrdiff_t>(y) * stride,
                static_cast<std::size_t>(size.width) * 4);
    for (int x = 0; is_opaque && x < size.width; ++x) row[4 * x + 3] = 0xFF;
  }
  PixelFrame scaled = ScaleFrame(std::move(frame).Finish(), Within(size, box), pool);
  if (!scaled) return nullptr;
  return std::make_shared<video::ObjcWrapper<NSImage>>(std::move(scaled));
}

Image Thumbnail(X11Image& image, xcb_drawable_t drawable, const Region& part, const Size& box) {
  if (box.width <= 0 || box.height <= 0 || !image.Get(drawable, part)) return nullptr;
  const Canvas& canvas = image.canvas();
  return MakeImage(canvas.data, canvas.stride, canvas.size, box, /*is_opaque=*/true);
}

// Of the pictures that the window offers the smallest that fills the box, or the largest
// (_NET_WM_ICON: width, height, pixels, and again).
Image IconOf(X11Connection& connection, xcb_window_t window, const Size& box) {
  if (box.width <= 0 || box.height <= 0) return nullptr;
  const auto values = connection.ValuesOf(window, connection.Atom("_NET_WM_ICON"));
  std::size_t best = values.size();
  Size best_size;
  const auto fills = [&box](const Size& size) {
    return size.width >= box.width && size.height >= box.height;
  };
  constexpr std::uint32_t kLongestSide = 1024;
  for (std::size_t at = 0; at + 2 < values.size();) {
    const std::uint32_t width = values[at];
    const std::uint32_t height = values[at + 1];
    const std::size_t pixels = std::size_t{width} * height;
    const bool is_sound = width > 0 && height > 0 && width <= kLongestSide &&
                          height <= kLongestSide && pixels <= values.size() - at - 2;
    if (!is_sound) break;
    const Size size{static_cast<std::int32_t>(width), static_cast<std::int32_t>(height)};
    const bool is_larger = size.width > best_size.width;
    const bool is_better = fills(best_size) ? fills(size) && !is_larger : is_larger;
    if (is_better) {
      best = at + 2;
      best_size = size;
    }
    at += 2 + pixels;
  }
  if (best == values.size()) return nullptr;
  return MakeImage(reinterpret_cast<const std::uint8_t*>(&values[best]), best_size.width * 4,
                   best_size, box, /*is_opaque=*/false);
}

// Has the server keep the windows' pictures apart, and waits a while for the programs of those that
// are covered to paint what nobody saw.
void Uncover(X11Connection& connection, const std::vector<X11Window>& windows) {
  const auto stack = ListStack(connection);
  const Region desktop = connection.GeometryOf(connection.root());
  std::set<xcb_damage_damage_t> awaited;
  for (const X11Window& window : windows) {
    if (window.minimised || !IsCovered(stack, FrameOf(connection, window.id), desktop)) continue;
    const xcb_damage_damage_t damage = xcb_generate_id(connection.xcb());
    if (!connection.Check(xcb_damage_create_checked(connection.xcb(), damage, window.id,
                                                    XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY))) {
      continue;
    }
    // All of a window counts as damaged at first.
    connection.Check(xcb_damage_subtract_checked(connection.xcb(), damage, XCB_NONE, XCB_NONE));
    awaited.insert(damage);
  }
  connection.DropEvents([](const xcb_generic_event_t&) { return true; });
  for (const X11Window& window : windows) {
    connection.Check(xcb_composite_redirect_window_checked(connection.xcb(), window.id,
                                                           XCB_COMPOSITE_REDIRECT_AUTOMATIC));
  }
  const auto deadline = std::chrono::steady_clock::now() + kLongestRepaint;
  while (!awaited.empty() && std::chrono::steady_clock::now() < deadline) {
    while (const auto event = connection.NextEvent()) {
      if ((event->response_type & kEventMask) != connection.damage_event()) continue;
      awaited.erase(reinterpret_cast<const xcb_damage_notify_event_t&>(*event).damage);
    }
    if (awaited.empty() || connection.is_broken()) break;
    pollfd wait{xcb_get_file_descriptor(connection.xcb()), POLLIN, 0};
    poll(&wait, 1, 10);
  }
}

Image WindowThumbnail(const X11Connection& connection, X11Image& image, xcb_window_t window,
                      const Size& box) {
  if (box.width <= 0 || box.height <= 0) return nullptr;
  const xcb_pixmap_t pixmap = xcb_generate_id(connection.xcb());
  if (!connection.Check(
          xcb_composite_name_window_pixmap_checked(connection.xcb(), window, pixmap))) {
    return nullptr;
  }
  const Region whole = connection.GeometryOf(pixmap);
  Image thumbnail = Thumbnail(image, pixmap, {0, 0, whole.width, whole.height}, box);
  connection.Check(xcb_free_pixmap_checked(connection.xcb(), pixmap));
  return thumbnail;
}

}  // namespace

std::vector<ScreenSourceInfo> ListSources(X11Connection& connection, const Size& thumbnail,
                                          const Size& icon) {
  std::vector<ScreenSourceInfo> sources;
  X11Image image(connection);
  const Region desktop = connection.GeometryOf(connection.root());
  for (const X11Monitor& monitor : ListMonitors(connection)) {
    auto source = std::make_shared<ScreenSource>();
    source->id = monitor.id;
    source->kind = kDisplayKind;
    source->title = monitor.name;
    source->size = {monitor.area.width, monitor.area.height};
    source->thumbnail =
        Thumbnail(image, connection.root(), Intersection(monitor.area, desktop), thumbnail);
    sources.push_back(std::move(source));
  }
  const std::vector<X11Window> windows = ListWindows(connection);
  if (thumbnail.width > 0 && thumbnail.height > 0) Uncover(connection, windows);
  for (const X11Window& window : windows) {
    const Region area = connection.GeometryOf(window.id);
    if (IsEmpty(area)) continue;  // Closed meanwhile.
    auto source = std::make_shared<ScreenSource>();
    source->id = window.id;
    source->kind = kWindowKind;
    source->title = window.title;
    source->size = {area.width, area.height};
    source->minimised = window.minimised;
    if (!window.minimised) {
      source->thumbnail = WindowThumbnail(connection, image, window.id, thumbnail);
    }
    source->icon = IconOf(connection, window.id, icon);
    sources.push_back(std::move(source));
  }
  return sources;
}

}  // namespace movra::media
