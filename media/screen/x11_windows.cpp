#include "media/screen/x11_windows.h"

#include <algorithm>

namespace movra::media {
namespace {

constexpr std::uint32_t kIconicState = 3;  // ICCCM, 4.1.3.1.
constexpr int kMostParents = 64;

// What WM_NAME is written in.
std::string Utf8OfLatin1(const std::string& text) {
  std::string utf8;
  for (const char c : text) {
    const auto code = static_cast<unsigned char>(c);
    if (code < 0x80) {
      utf8 += c;
    } else {
      utf8 += static_cast<char>(0xC0U | (code >> 6U));
      utf8 += static_cast<char>(0x80U | (code & 0x3FU));
    }
  }
  return utf8;
}

bool IsShown(const X11Connection& connection, xcb_window_t window) {
  const auto attributes = connection.Ask(xcb_get_window_attributes_reply,
                                         xcb_get_window_attributes(connection.xcb(), window));
  return attributes != nullptr && attributes->map_state == XCB_MAP_STATE_VIEWABLE &&
         attributes->_class == XCB_WINDOW_CLASS_INPUT_OUTPUT;
}

// Panels and wallpapers are windows too, and nobody shares them.
bool IsFurniture(X11Connection& connection, xcb_window_t window) {
  const auto types = connection.ValuesOf(window, connection.Atom("_NET_WM_WINDOW_TYPE"));
  return std::any_of(types.begin(), types.end(), [&](xcb_atom_t type) {
    return type == connection.Atom("_NET_WM_WINDOW_TYPE_DESKTOP") ||
           type == connection.Atom("_NET_WM_WINDOW_TYPE_DOCK");
  });
}

// From the bottom to the top.
std::vector<xcb_window_t> Candidates(X11Connection& connection) {
  for (const char* const list : {"_NET_CLIENT_LIST_STACKING", "_NET_CLIENT_LIST"}) {
    auto windows = connection.ValuesOf(connection.root(), connection.Atom(list));
    if (!windows.empty()) return windows;
  }
  std::vector<xcb_window_t> windows = connection.ChildrenOf(connection.root());
  const auto is_hidden = [&](xcb_window_t window) { return !IsShown(connection, window); };
  windows.erase(std::remove_if(windows.begin(), windows.end(), is_hidden), windows.end());
  return windows;
}

}  // namespace

std::vector<X11Window> ListWindows(X11Connection& connection) {
  std::vector<X11Window> windows;
  const auto candidates = Candidates(connection);
  for (auto id = candidates.rbegin(); id != candidates.rend(); ++id) {
    // It may have gone since it was listed.
    if (connection.GeometryOf(*id) == video::Region() || IsFurniture(connection, *id)) continue;
    windows.push_back({*id, TitleOf(connection, *id), IsMinimised(connection, *id)});
  }
  return windows;
}

std::string TitleOf(X11Connection& connection, xcb_window_t window) {
  std::string title = connection.TextOf(window, connection.Atom("_NET_WM_NAME"));
  return title.empty() ? Utf8OfLatin1(connection.TextOf(window, XCB_ATOM_WM_NAME)) : title;
}

bool IsMinimised(X11Connection& connection, xcb_window_t window) {
  const auto state = connection.ValuesOf(window, connection.Atom("WM_STATE"));
  if (!state.empty() && state.front() == kIconicState) return true;
  const auto states = connection.ValuesOf(window, connection.Atom("_NET_WM_STATE"));
  return std::find(states.begin(), states.end(), connection.Atom("_NET_WM_STATE_HIDDEN")) !=
         states.end();
}

xcb_window_t FrameOf(const X11Connection& connection, xcb_window_t window) {
  // Bounded, because windows may be moved about meanwhile.
  for (int i = 0; i < kMostParents; ++i) {
    const auto tree =
        connection.Ask(xcb_query_tree_reply, xcb_query_tree(connection.xcb(), window));
    if (tree == nullptr) return 0;
    if (tree->parent == connection.root() || tree->parent == XCB_NONE) return window;
    window = tree->parent;
  }
  return 0;
}

void Activate(X11Connection& connection, xcb_window_t window) {
  xcb_client_message_event_t event{};
  event.response_type = XCB_CLIENT_MESSAGE;
  event.format = 32;
  event.window = window;
  event.type = connection.Atom("_NET_ACTIVE_WINDOW");
  event.data.data32[0] = 2;  // Asked for by a person, as a pager does.
  constexpr std::uint32_t kToWindowManager =
      XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
  connection.Check(xcb_send_event_checked(connection.xcb(), 0, connection.root(), kToWindowManager,
                                          reinterpret_cast<const char*>(&event)));
}

std::uint32_t ProcessOf(X11Connection& connection, xcb_window_t window) {
  const auto process = connection.ValuesOf(window, connection.Atom("_NET_WM_PID"));
  return process.empty() ? 0 : process.front();
}

}  // namespace movra::media
