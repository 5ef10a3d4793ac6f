#include "media/screen/window_target.h"

#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "media/screen/x11_monitors.h"
#include "media/screen/x11_stack.h"
#include "media/screen/x11_windows.h"

namespace movra::media {

using video::Region;

namespace {

constexpr std::uint8_t kEventMask = 0x7F;  // The rest says who sent it.

template <class Event>
const Event& As(const xcb_generic_event_t& event) {
  return reinterpret_cast<const Event&>(event);
}

}  // namespace

ScreenTarget::Problem WindowTarget::Open(const ScreenSettings& settings) {
  const auto attributes = connection_.Ask(xcb_get_window_attributes_reply,
                                          xcb_get_window_attributes(connection_.xcb(), window_));
  if (attributes == nullptr || attributes->_class != XCB_WINDOW_CLASS_INPUT_OUTPUT || !Watch() ||
      !Look()) {
    return Failure<CameraError>{CameraError::kNoSuchCamera,
                                "there is no window " + std::to_string(window_)};
  }
  // What is covered now was not painted for us yet.
  if (is_covered_) AwaitRepaint();
  return Change(settings);
}

ScreenTarget::Problem WindowTarget::Change(const ScreenSettings& settings) {
  const auto& region = settings.params.region;
  if (region.has_value() && IsEmpty(Intersection(*region, {0, 0, size_.width, size_.height}))) {
    return Failure<CameraError>{CameraError::kBadOption, "the area lies outside of the window of " +
                                                             std::to_string(size_.width) + "x" +
                                                             std::to_string(size_.height)};
  }
  region_ = region;
  captures_covered_ = settings.params.capture_covered.value_or(true);
  if (settings.params.activate_window.value_or(false) && !was_activated_) {
    Activate(connection_, window_);
    was_activated_ = true;
  }
  has_changed_ = true;
  has_news_ = true;
  return std::nullopt;
}

bool WindowTarget::Watch() {
  xcb_connection_t* const xcb = connection_.xcb();
  const std::uint32_t own = XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE;
  const std::uint32_t around = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
  damage_ = xcb_generate_id(xcb);
  const bool is_told = connection_.Check(xcb_change_window_attributes_checked(
                           xcb, connection_.root(), XCB_CW_EVENT_MASK, &around)) &&
                       connection_.Check(xcb_change_window_attributes_checked(
                           xcb, window_, XCB_CW_EVENT_MASK, &own)) &&
                       connection_.Check(xcb_shape_select_input_checked(xcb, window_, 1)) &&
                       connection_.Check(xcb_damage_create_checked(
                           xcb, damage_, window_, XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY));
  // All of a window counts as damaged at first; only what is painted because of the redirection
  // shall.
  SubtractDamage();
  connection_.DropEvents([this](const xcb_generic_event_t& event) {
    return (event.response_type & kEventMask) == connection_.damage_event();
  });
  return is_told && connection_.Check(xcb_composite_redirect_window_checked(
                        xcb, window_, XCB_COMPOSITE_REDIRECT_AUTOMATIC));
}

void WindowTarget::OnEvent(const xcb_generic_event_t& event) {
  const std::uint8_t type = event.response_type & kEventMask;
  if (type == connection_.damage_event()) {
    has_news_ = true;
    repaint_by_.reset();
  } else if (type == connection_.shape_event()) {
    has_news_ = true;
  } else if (type == XCB_DESTROY_NOTIFY) {
    if (As<xcb_destroy_notify_event_t>(event).window == window_) is_destroyed_ = true;
    has_changed_ = true;
  } else if (type == XCB_MAP_NOTIFY) {
    // The old picture goes with the unmapping.
    if (As<xcb_map_notify_event_t>(event).window == window_) {
      ForgetPixmap();
      AwaitRepaint();
    }
    has_changed_ = true;
  } else if (type == XCB_CONFIGURE_NOTIFY) {
    const auto& configured = As<xcb_configure_notify_event_t>(event);
    // The picture of the old size is whole, and so will be that of the new once it is painted.
    if (configured.window == window_ && video::Size{configured.width, configured.height} != size_) {
      AwaitRepaint();
    }
    has_changed_ = true;
  } else {
    // Whatever else happens to windows on the desktop, or to this one's properties.
    has_changed_ = true;
  }
}

ScreenTarget::State WindowTarget::Update(Clock::time_point now) {
  if (repaint_by_ && now >= *repaint_by_) repaint_by_.reset();
  if (std::exchange(has_changed_, false) && !is_destroyed_) is_destroyed_ = !Look();
  if (is_destroyed_) return State::kGone;
  return is_minimised_ ? State::kMinimised : State::kThere;
}

bool WindowTarget::Look() {
  const auto attributes = connection_.Ask(xcb_get_window_attributes_reply,
                                          xcb_get_window_attributes(connection_.xcb(), window_));
  const Region own = connection_.GeometryOf(window_);
  if (attributes == nullptr || IsEmpty(own)) return false;
  is_minimised_ =
      attributes->map_state != XCB_MAP_STATE_VIEWABLE || IsMinimised(connection_, window_);
  const video::Size size{own.width, own.height};
  if (size != size_) {
    size_ = size;
    ForgetPixmap();
  }
  const auto place = connection_.Ask(
      xcb_translate_coordinates_reply,
      xcb_translate_coordinates(connection_.xcb(), window_, connection_.root(), 0, 0));
  if (place == nullptr) return false;
  const Region wanted = Wanted();
  part_ = {place->dst_x + wanted.x, place->dst_y + wanted.y, wanted.width, wanted.height};
  if (!is_minimised_) {
    is_covered_ = IsCovered(ListStack(connection_), FrameOf(connection_, window_),
                            connection_.GeometryOf(connection_.root()));
  }
  return true;
}

Region WindowTarget::Wanted() const {
  const Region whole{0, 0, size_.width, size_.height};
  if (!region_.has_value()) return whole;
  const Region part = Intersection(*region_, whole);
  return IsEmpty(part) ? whole : part;  // It has become too small for it.
}

void WindowTarget::ForgetPixmap() {
  if (pixmap_ != 0) connection_.Check(xcb_free_pixmap_checked(connection_.xcb(), pixmap_));
  pixmap_ = 0;
  has_news_ = true;
}

void WindowTarget::AwaitRepaint() {
  repaint_by_ = Clock::now() + kLongestRepaint;
  // Damage that has been told of is not told of again before it is taken away.
  if (has_news_) SubtractDamage();
}

void WindowTarget::SubtractDamage() {
  connection_.Check(xcb_damage_subtract_checked(connection_.xcb(), damage_, XCB_NONE, XCB_NONE));
}

const Canvas* WindowTarget::Grab() {
  has_news_ = false;
  SubtractDamage();
  if (pixmap_ == 0) {
    const xcb_pixmap_t pixmap = xcb_generate_id(connection_.xcb());
    const bool is_named = connection_.Check(
        xcb_composite_name_window_pixmap_checked(connection_.xcb(), window_, pixmap));
    if (is_named) pixmap_ = pixmap;
  }
  const auto window =
      connection_.Ask(xcb_get_geometry_reply, xcb_get_geometry(connection_.xcb(), window_));
  const Region picture = pixmap_ == 0 ? Region() : connection_.GeometryOf(pixmap_);
  if (window == nullptr || IsEmpty(picture)) {
    has_changed_ = true;
    has_news_ = true;
    return nullptr;
  }
  const Region wanted = Wanted();
  const int border = window->border_width;
  const bool fits =
      picture.width == size_.width + 2 * border && picture.height == size_.height + 2 * border;
  const Region part{wanted.x + border, wanted.y + border, wanted.width, wanted.height};
  if (!fits || !image_.Get(pixmap_, part)) {
    // It changes its size this very moment.
    ForgetPixmap();
    has_changed_ = true;
    return nullptr;
  }
  CutToShape(wanted);
  return &image_.canvas();
}

// What is outside of a window's shape shows what was there before, and becomes black.
void WindowTarget::CutToShape(const Region& wanted) {
  const std::vector<Region> shape = ShapeOf(connection_, window_, size_);
  if (shape.empty()) return;
  const Canvas& canvas = image_.canvas();
  std::vector<bool> is_shown;
  for (int y = 0; y < canvas.size.height; ++y) {
    is_shown.assign(static_cast<std::size_t>(canvas.size.width), false);
    for (const Region& each : shape) {
      const Region row = Intersection(each, {wanted.x, wanted.y + y, wanted.width, 1});
      for (int x = row.x; x < row.x + row.width; ++x) {
        is_shown[static_cast<std::size_t>(x - wanted.x)] = true;
      }
    }
    for (int x = 0; x < canvas.size.width; ++x) {
      if (!is_shown[static_cast<std::size_t>(x)]) std::memset(canvas.row(y) + 4 * x, 0, 4);
    }
  }
}

}  // namespace movra::media
