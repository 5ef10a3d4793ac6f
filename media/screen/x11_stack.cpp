#include "media/screen/x11_stack.h"

#include <algorithm>

#include "media/screen/x11_monitors.h"

namespace movra::media {

using video::Region;

std::vector<StackedWindow> ListStack(const X11Connection& connection) {
  const std::vector<xcb_window_t> children = connection.ChildrenOf(connection.root());
  // All of them are asked before the first answer is waited for.
  struct Asked {
    xcb_get_window_attributes_cookie_t attributes;
    xcb_get_geometry_cookie_t geometry;
  };
  std::vector<Asked> asked;
  asked.reserve(children.size());
  for (const xcb_window_t child : children) {
    asked.push_back({xcb_get_window_attributes(connection.xcb(), child),
                     xcb_get_geometry(connection.xcb(), child)});
  }
  std::vector<StackedWindow> stack;
  for (std::size_t i = 0; i < children.size(); ++i) {
    const auto attributes = connection.Ask(xcb_get_window_attributes_reply, asked[i].attributes);
    const auto geometry = connection.Ask(xcb_get_geometry_reply, asked[i].geometry);
    const bool is_shown = attributes != nullptr && geometry != nullptr &&
                          attributes->map_state == XCB_MAP_STATE_VIEWABLE &&
                          attributes->_class == XCB_WINDOW_CLASS_INPUT_OUTPUT;
    if (!is_shown) continue;
    const int borders = 2 * geometry->border_width;
    stack.push_back(
        {children[i],
         {geometry->x, geometry->y, geometry->width + borders, geometry->height + borders}});
  }
  return stack;
}

bool IsCovered(const std::vector<StackedWindow>& stack, xcb_window_t frame, const Region& desktop) {
  const auto own = std::find_if(stack.begin(), stack.end(), [frame](const StackedWindow& window) {
    return window.id == frame;
  });
  if (own == stack.end()) return false;
  const Region seen = Intersection(own->area, desktop);
  return std::any_of(own + 1, stack.end(), [&seen](const StackedWindow& above) {
    return !IsEmpty(Intersection(above.area, seen));
  });
}

std::vector<Region> ShapeOf(const X11Connection& connection, xcb_window_t window,
                            const video::Size& size) {
  const auto reply =
      connection.Ask(xcb_shape_get_rectangles_reply,
                     xcb_shape_get_rectangles(connection.xcb(), window, XCB_SHAPE_SK_BOUNDING));
  if (reply == nullptr) return {};
  const Region whole{0, 0, size.width, size.height};
  std::vector<Region> parts;
  const xcb_rectangle_t* const rectangles = xcb_shape_get_rectangles_rectangles(reply.get());
  for (int i = 0; i < xcb_shape_get_rectangles_rectangles_length(reply.get()); ++i) {
    const xcb_rectangle_t& r = rectangles[i];
    parts.push_back(Intersection({r.x, r.y, r.width, r.height}, whole));
  }
  if (parts.size() == 1 && parts.front() == whole) return {};
  // An empty shape shows nothing, which is not the same as no shape.
  if (parts.empty()) parts.emplace_back();
  return parts;
}

}  // namespace movra::media
