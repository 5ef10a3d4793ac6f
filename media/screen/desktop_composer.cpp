#include "media/screen/desktop_composer.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>

#include "media/screen/x11_monitors.h"
#include "media/screen/x11_windows.h"

namespace movra::media {

using video::Region;

namespace {

constexpr std::uint8_t kEventMask = 0x7F;  // The rest says who sent it.
// The background tells of no change; behind this time it is looked at again with the next picture.
constexpr std::chrono::seconds kBackgroundAge{1};

template <class Event>
const Event& As(const xcb_generic_event_t& event) {
  return reinterpret_cast<const Event&>(event);
}

// Copies a part of the desktop out of a picture of another one into the canvas.
void Copy(const Canvas& source, const Region& source_area, const Canvas& target,
          const Region& target_area, const Region& wanted) {
  const Region both = Intersection(Intersection(source_area, target_area), wanted);
  for (int y = both.y; y < both.y + both.height; ++y) {
    std::memcpy(target.row(y - target_area.y) + 4 * (both.x - target_area.x),
                source.row(y - source_area.y) + 4 * (both.x - source_area.x),
                static_cast<std::size_t>(both.width) * 4);
  }
}

}  // namespace

DesktopComposer::~DesktopComposer() {
  connection_.Check(xcb_composite_unredirect_subwindows_checked(
      connection_.xcb(), connection_.root(), XCB_COMPOSITE_REDIRECT_AUTOMATIC));
  for (const auto& [window, watched] : watched_) {
    connection_.Check(xcb_damage_destroy_checked(connection_.xcb(), watched.damage));
  }
}

bool DesktopComposer::Start() {
  const std::uint32_t mask = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
  if (!connection_.Check(xcb_change_window_attributes_checked(connection_.xcb(), connection_.root(),
                                                              XCB_CW_EVENT_MASK, &mask))) {
    return false;
  }
  for (const xcb_window_t window : connection_.ChildrenOf(connection_.root())) {
    Watch(window);
  }
  return connection_.Check(xcb_composite_redirect_subwindows_checked(
      connection_.xcb(), connection_.root(), XCB_COMPOSITE_REDIRECT_AUTOMATIC));
}

void DesktopComposer::Watch(xcb_window_t window) {
  if (window == background_window_ || watched_.count(window) != 0) return;
  const Watched watched{xcb_generate_id(connection_.xcb())};
  if (!connection_.Check(xcb_damage_create_checked(connection_.xcb(), watched.damage, window,
                                                   XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY))) {
    return;
  }
  connection_.Check(
      xcb_damage_subtract_checked(connection_.xcb(), watched.damage, XCB_NONE, XCB_NONE));
  // All of a shown window counts as damaged when its watch begins, which is no painting.
  connection_.DropEvents([&](const xcb_generic_event_t& event) {
    return (event.response_type & kEventMask) == connection_.damage_event() &&
           As<xcb_damage_notify_event_t>(event).damage == watched.damage;
  });
  watched_[window] = watched;
}

// Where somebody else has kept the picture apart for long, nothing is painted by itself. A frame
// around windows has no pixels that matter.
void DesktopComposer::RequestRepaint(xcb_window_t window) {
  std::vector<xcb_window_t> windows = connection_.ChildrenOf(window);
  if (windows.empty()) windows.push_back(window);
  for (const xcb_window_t each : windows) {
    connection_.Check(xcb_clear_area_checked(connection_.xcb(), /*exposures=*/1, each, 0, 0, 0, 0));
  }
}

bool DesktopComposer::OnEvent(const xcb_generic_event_t& event) {
  const std::uint8_t type = event.response_type & kEventMask;
  if (type == connection_.damage_event()) {
    const auto& damage = As<xcb_damage_notify_event_t>(event);
    const auto found = watched_.find(damage.drawable);
    if (found == watched_.end() || found->second.damage != damage.damage) return false;
    found->second.suspect.emplace();
    damaged_.insert(damage.damage);
    return true;
  }
  switch (type) {
    case XCB_CREATE_NOTIFY:
      // Before it is shown, so that its first painting is told of.
      Watch(As<xcb_create_notify_event_t>(event).window);
      return false;
    case XCB_DESTROY_NOTIFY:
      watched_.erase(As<xcb_destroy_notify_event_t>(event).window);
      return As<xcb_destroy_notify_event_t>(event).window != background_window_;
    case XCB_MAP_NOTIFY:
      return As<xcb_map_notify_event_t>(event).window != background_window_;
    case XCB_UNMAP_NOTIFY: {
      const xcb_window_t window = As<xcb_unmap_notify_event_t>(event).window;
      const auto found = watched_.find(window);
      // Shown again, it begins with another picture.
      if (found != watched_.end()) found->second.suspect.reset();
      return window != background_window_;
    }
    case XCB_CONFIGURE_NOTIFY:
      return As<xcb_configure_notify_event_t>(event).window != background_window_;
    case XCB_CIRCULATE_NOTIFY:
    case XCB_REPARENT_NOTIFY:
      return true;
    default:
      return false;
  }
}

const Canvas* DesktopComposer::Compose(const Region& part, const ComposedWindows& windows) {
  const auto bytes =
      static_cast<std::size_t>(part.width) * static_cast<std::size_t>(part.height) * 4;
  pixels_.assign(bytes, 0);
  canvas_ = {pixels_.data(), part.width * 4, {part.width, part.height}};
  if (windows.included.empty()) DrawBackground(part);
  SubtractDamage();
  // Nothing moves between the list of the windows and their pictures.
  if (!connection_.Check(xcb_grab_server_checked(connection_.xcb()))) return nullptr;
  const bool is_whole = ComposeGrabbed(part, windows);
  connection_.Check(xcb_ungrab_server_checked(connection_.xcb()));
  return is_whole ? &canvas_ : nullptr;
}

void DesktopComposer::SubtractDamage() {
  for (const xcb_damage_damage_t damage : damaged_) {
    connection_.Check(xcb_damage_subtract_checked(connection_.xcb(), damage, XCB_NONE, XCB_NONE));
  }
  damaged_.clear();
}

bool DesktopComposer::ComposeGrabbed(const Region& part, const ComposedWindows& windows) {
  const std::vector<StackedWindow> stack = ListStack(connection_);
  const std::set<xcb_window_t> hidden = HiddenFrames(stack, windows);
  const std::set<xcb_window_t> shown = FramesOf(windows.included);
  // The beginning of one may not have been told of.
  for (const StackedWindow& window : stack) Watch(window.id);
  FindSuspects(stack, hidden);
  for (const StackedWindow& window : stack) {
    const bool is_left_out = hidden.count(window.id) != 0 || window.id == background_window_ ||
                             (!windows.included.empty() && shown.count(window.id) == 0);
    if (!is_left_out) DrawWindow(window, part);
  }
  return !connection_.is_broken();
}

// A picture that is kept apart begins with what the screen shows there, but for what the window
// shows of itself by then. So those that were there at first have pixels of excluded windows above
// them alone; those that opened later have none of their own.
void DesktopComposer::FindSuspects(const std::vector<StackedWindow>& stack,
                                   const std::set<xcb_window_t>& hidden) {
  std::vector<Region> all;
  for (const StackedWindow& window : stack) {
    if (hidden.count(window.id) != 0) all.push_back(window.area);
  }
  std::vector<Region> above;
  for (auto window = stack.rbegin(); window != stack.rend(); ++window) {
    if (hidden.count(window->id) != 0) above.push_back(window->area);
    const auto watched = watched_.find(window->id);
    if (watched == watched_.end() || watched->second.suspect) continue;
    auto& suspect = watched->second.suspect.emplace();
    for (const Region& area : has_begun_ ? all : above) {
      const Region both = Intersection(area, window->area);
      if (!IsEmpty(both)) suspect.push_back(both);
    }
    if (!suspect.empty() && hidden.count(window->id) == 0) RequestRepaint(window->id);
  }
  has_begun_ = true;
}

std::set<xcb_window_t> DesktopComposer::FramesOf(const std::vector<long>& windows) const {
  std::set<xcb_window_t> frames;
  for (const long window : windows) {
    frames.insert(FrameOf(connection_, static_cast<xcb_window_t>(window)));
  }
  return frames;
}

std::set<xcb_window_t> DesktopComposer::HiddenFrames(const std::vector<StackedWindow>& stack,
                                                     const ComposedWindows& windows) {
  std::set<xcb_window_t> hidden = FramesOf(windows.excluded);
  if (!windows.excludes_own) return hidden;
  const auto own = static_cast<std::uint32_t>(getpid());
  for (const X11Window& window : ListWindows(connection_)) {
    if (ProcessOf(connection_, window.id) == own) hidden.insert(FrameOf(connection_, window.id));
  }
  for (const StackedWindow& window : stack) {
    if (ProcessOf(connection_, window.id) == own) hidden.insert(window.id);
  }
  return hidden;
}

void DesktopComposer::DrawBackground(const Region& part) {
  const Region desktop = connection_.GeometryOf(connection_.root());
  const auto now = Clock::now();
  if (desktop != background_area_ || now - background_time_ >= kBackgroundAge) {
    FetchBackground(desktop);
    background_time_ = now;
  }
  if (background_.empty()) return;
  const Canvas background{background_.data(),
                          background_area_.width * 4,
                          {background_area_.width, background_area_.height}};
  Copy(background, background_area_, canvas_, part, part);
}

// The background is in no window's picture, nor to be had beneath them. A window of its own that is
// as large as the desktop, transparent to it and never seen has it.
void DesktopComposer::FetchBackground(const Region& desktop) {
  xcb_connection_t* const xcb = connection_.xcb();
  const xcb_window_t window = xcb_generate_id(xcb);
  background_window_ = window;
  const std::array<std::uint32_t, 2> values{XCB_BACK_PIXMAP_PARENT_RELATIVE, 1};
  const std::uint32_t below = XCB_STACK_MODE_BELOW;
  // Manual: the server keeps its picture, and does not show it.
  const bool is_made =
      connection_.Check(xcb_create_window_checked(
          xcb, XCB_COPY_FROM_PARENT, window, connection_.root(), 0, 0,
          static_cast<std::uint16_t>(desktop.width), static_cast<std::uint16_t>(desktop.height), 0,
          XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
          XCB_CW_BACK_PIXMAP | XCB_CW_OVERRIDE_REDIRECT, values.data())) &&
      connection_.Check(
          xcb_composite_redirect_window_checked(xcb, window, XCB_COMPOSITE_REDIRECT_MANUAL));
  const xcb_pixmap_t pixmap = xcb_generate_id(xcb);
  const bool is_named =
      is_made &&
      connection_.Check(xcb_shape_rectangles_checked(xcb, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_INPUT,
                                                     XCB_CLIP_ORDERING_UNSORTED, window, 0, 0, 0,
                                                     nullptr)) &&
      connection_.Check(
          xcb_configure_window_checked(xcb, window, XCB_CONFIG_WINDOW_STACK_MODE, &below)) &&
      connection_.Check(xcb_map_window_checked(xcb, window)) &&
      connection_.Check(xcb_clear_area_checked(xcb, 0, window, 0, 0, 0, 0)) &&
      connection_.Check(xcb_composite_name_window_pixmap_checked(xcb, window, pixmap));
  if (is_named && image_.Get(pixmap, {0, 0, desktop.width, desktop.height})) {
    const Canvas& canvas = image_.canvas();
    background_.assign(
        canvas.data, canvas.data + static_cast<std::ptrdiff_t>(canvas.stride) * canvas.size.height);
    background_area_ = desktop;
  }
  if (is_named) connection_.Check(xcb_free_pixmap_checked(xcb, pixmap));
  connection_.Check(xcb_destroy_window_checked(xcb, window));
}

void DesktopComposer::DrawWindow(const StackedWindow& window, const Region& part) {
  const Region seen = Intersection(window.area, part);
  if (IsEmpty(seen)) return;
  const xcb_pixmap_t pixmap = xcb_generate_id(connection_.xcb());
  if (!connection_.Check(
          xcb_composite_name_window_pixmap_checked(connection_.xcb(), window.id, pixmap))) {
    return;  // Shown a moment ago, and no more.
  }
  const Region inside{seen.x - window.area.x, seen.y - window.area.y, seen.width, seen.height};
  const bool has_pixels = image_.Get(pixmap, inside);
  connection_.Check(xcb_free_pixmap_checked(connection_.xcb(), pixmap));
  if (!has_pixels) return;
  auto shape = ShapeOf(connection_, window.id, {window.area.width, window.area.height});
  if (shape.empty()) shape.push_back({0, 0, window.area.width, window.area.height});
  const auto watched = watched_.find(window.id);
  for (Region each : shape) {
    each.x += window.area.x;
    each.y += window.area.y;
    Copy(image_.canvas(), seen, canvas_, part, each);
    if (watched == watched_.end() || !watched->second.suspect) continue;
    for (const Region& area : *watched->second.suspect) Blacken(Intersection(area, each), part);
  }
}

void DesktopComposer::Blacken(const Region& area, const Region& part) {
  const Region both = Intersection(area, part);
  for (int y = both.y; y < both.y + both.height; ++y) {
    std::memset(canvas_.row(y - part.y) + 4 * (both.x - part.x), 0,
                static_cast<std::size_t>(both.width) * 4);
  }
}

}  // namespace movra::media
