#include "media/screen/x11_connection.h"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <utility>

namespace movra::media {
namespace {

constexpr std::uint32_t kLongestProperty = 1U << 20U;  // In units of 4 bytes.

Failure<CameraError> NoDisplay() {
  const char* const display = std::getenv("DISPLAY");
  if (display == nullptr || *display == '\0') {
    return {CameraError::kNoDisplay, "there is no X display: DISPLAY is not set"};
  }
  return {CameraError::kNoDisplay, "there is no X display '" + std::string(display) +
                                       "' that can be reached (DISPLAY names it)"};
}

}  // namespace

Result<std::unique_ptr<X11Connection>, CameraError> X11Connection::Open() {
  if (const std::string error = LoadXcb(); !error.empty()) {
    return Failure<CameraError>{CameraError::kUnavailable,
                                "screens need the libraries of XCB: " + error};
  }
  int screen_number = 0;
  // NOLINTNEXTLINE(cppcoreguidelines-owning-memory): XCB makes it and takes it back.
  std::unique_ptr<X11Connection> opened(new X11Connection(xcb_connect(nullptr, &screen_number)));
  if (opened->is_broken()) return NoDisplay();
  if (const std::string lacking = opened->Prepare(screen_number); !lacking.empty()) {
    return Failure<CameraError>{CameraError::kUnsupported, "the X server " + lacking};
  }
  return opened;
}

X11Connection::~X11Connection() { xcb_disconnect(connection_); }

std::string X11Connection::Prepare(int screen_number) {
  if (std::string error = FindScreen(screen_number); !error.empty()) return error;
  std::uint8_t none = 0;
  // Each of them is told that it is used, as its protocol wants it.
  const bool has_all =
      FindExtension("Composite", &none) &&
      Ask(xcb_composite_query_version_reply, xcb_composite_query_version(connection_, 0, 4)) &&
      FindExtension("DAMAGE", &damage_event_) &&
      Ask(xcb_damage_query_version_reply, xcb_damage_query_version(connection_, 1, 1)) &&
      FindExtension("XFIXES", &none) &&
      Ask(xcb_xfixes_query_version_reply, xcb_xfixes_query_version(connection_, 5, 0)) &&
      FindExtension("RANDR", &randr_event_) &&
      Ask(xcb_randr_query_version_reply, xcb_randr_query_version(connection_, 1, 5)) &&
      FindExtension("SHAPE", &shape_event_) &&
      Ask(xcb_shape_query_version_reply, xcb_shape_query_version(connection_));
  if (!has_all) return "lacks one of the extensions Composite, DAMAGE, XFIXES, RANDR and SHAPE";
  has_shm_ = FindExtension("MIT-SHM", &none) &&
             Ask(xcb_shm_query_version_reply, xcb_shm_query_version(connection_));
  return "";
}

std::string X11Connection::FindScreen(int screen_number) {
  const xcb_setup_t* const setup = xcb_get_setup(connection_);
  xcb_screen_iterator_t screens = xcb_setup_roots_iterator(setup);
  for (int i = 0; i < screen_number && screens.rem > 1; ++i) xcb_screen_next(&screens);
  root_ = screens.data->root;
  const xcb_format_t* const formats = xcb_setup_pixmap_formats(setup);
  for (int i = 0; i < xcb_setup_pixmap_formats_length(setup); ++i) {
    const bool is_bgrx = formats[i].bits_per_pixel == 32 && screens.data->root_depth >= 24 &&
                         setup->image_byte_order == XCB_IMAGE_ORDER_LSB_FIRST;
    if (formats[i].depth == screens.data->root_depth && is_bgrx) return "";
  }
  return "has a screen of " + std::to_string(screens.data->root_depth) +
         " bits; one of 24 or 32 is needed";
}

bool X11Connection::FindExtension(const std::string& name, std::uint8_t* first_event) const {
  const auto reply =
      Ask(xcb_query_extension_reply,
          xcb_query_extension(connection_, static_cast<std::uint16_t>(name.size()), name.c_str()));
  if (reply == nullptr || reply->present == 0) return false;
  *first_event = reply->first_event;
  return true;
}

bool X11Connection::Check(xcb_void_cookie_t cookie) const {
  const XcbOwned<xcb_generic_error_t> error(xcb_request_check(connection_, cookie));
  return error == nullptr && !is_broken();
}

XcbOwned<xcb_generic_event_t> X11Connection::NextEvent() {
  if (events_.empty()) return XcbOwned<xcb_generic_event_t>(xcb_poll_for_event(connection_));
  auto event = std::move(events_.front());
  events_.pop_front();
  return event;
}

void X11Connection::DropEvents(const std::function<bool(const xcb_generic_event_t&)>& is_unwanted) {
  while (XcbOwned<xcb_generic_event_t> event{xcb_poll_for_event(connection_)}) {
    events_.push_back(std::move(event));
  }
  events_.erase(std::remove_if(events_.begin(), events_.end(),
                               [&](const auto& event) { return is_unwanted(*event); }),
                events_.end());
}

xcb_atom_t X11Connection::Atom(const std::string& name) {
  const auto known = atoms_.find(name);
  if (known != atoms_.end()) return known->second;
  const auto reply =
      Ask(xcb_intern_atom_reply,
          xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(name.size()), name.c_str()));
  if (reply == nullptr) return XCB_ATOM_NONE;
  atoms_[name] = reply->atom;
  return reply->atom;
}

std::string X11Connection::AtomName(xcb_atom_t atom) const {
  const auto reply = Ask(xcb_get_atom_name_reply, xcb_get_atom_name(connection_, atom));
  if (reply == nullptr) return "";
  return {xcb_get_atom_name_name(reply.get()),
          static_cast<std::size_t>(xcb_get_atom_name_name_length(reply.get()))};
}

std::string X11Connection::TextOf(xcb_window_t window, xcb_atom_t property) const {
  const auto reply =
      Ask(xcb_get_property_reply,
          xcb_get_property(connection_, 0, window, property, XCB_ATOM_ANY, 0, kLongestProperty));
  if (reply == nullptr || reply->format != 8) return "";
  return {static_cast<const char*>(xcb_get_property_value(reply.get())),
          static_cast<std::size_t>(xcb_get_property_value_length(reply.get()))};
}

std::vector<std::uint32_t> X11Connection::ValuesOf(xcb_window_t window, xcb_atom_t property) const {
  const auto reply =
      Ask(xcb_get_property_reply,
          xcb_get_property(connection_, 0, window, property, XCB_ATOM_ANY, 0, kLongestProperty));
  if (reply == nullptr || reply->format != 32) return {};
  std::vector<std::uint32_t> values(
      static_cast<std::size_t>(xcb_get_property_value_length(reply.get())) / 4);
  if (values.empty()) return values;
  std::memcpy(values.data(), xcb_get_property_value(reply.get()), values.size() * 4);
  return values;
}

video::Region X11Connection::GeometryOf(xcb_drawable_t drawable) const {
  const auto reply = Ask(xcb_get_geometry_reply, xcb_get_geometry(connection_, drawable));
  if (reply == nullptr) return {};
  return {reply->x, reply->y, reply->width, reply->height};
}

std::vector<xcb_window_t> X11Connection::ChildrenOf(xcb_window_t window) const {
  const auto reply = Ask(xcb_query_tree_reply, xcb_query_tree(connection_, window));
  if (reply == nullptr) return {};
  const xcb_window_t* const first = xcb_query_tree_children(reply.get());
  return {first, first + xcb_query_tree_children_length(reply.get())};
}

}  // namespace movra::media
