#ifndef MOVRA_MEDIA_SCREEN_X11_CONNECTION_H_
#define MOVRA_MEDIA_SCREEN_X11_CONNECTION_H_

#include <cstdint>
#include <cstdlib>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "media/capture/camera_error.h"
#include "media/dynamic/xcb_api.h"
#include "media/result/result.h"
#include "video/capture_params.h"

namespace movra::media {

struct FreeDeleter {
  void operator()(void* memory) const { std::free(memory); }
};

// What XCB gives away: replies and events. Null where there is none.
template <class T>
using XcbOwned = std::unique_ptr<T, FreeDeleter>;

// One client's connection to the X server that DISPLAY names.
//
// Windows vanish between one request and the next, so every request is asked for its error; a
// request that failed is an answer like any other. No process-wide error handler is touched, and no
// error ends up among the events.
//
// One thread at a time. What the connection made in the server (pixmaps, redirections, damage) goes
// with it.
class X11Connection {
 public:
  // Loads XCB when it is the first. Fails with kUnavailable without the libraries, kNoDisplay
  // without a server that can be reached, kUnsupported where it lacks something.
  [[nodiscard]] static Result<std::unique_ptr<X11Connection>, CameraError> Open();

  ~X11Connection();
  X11Connection(const X11Connection&) = delete;
  X11Connection& operator=(const X11Connection&) = delete;

  [[nodiscard]] xcb_connection_t* xcb() const { return connection_; }
  [[nodiscard]] xcb_window_t root() const { return root_; }
  [[nodiscard]] bool has_shm() const { return has_shm_; }
  [[nodiscard]] std::uint8_t damage_event() const { return damage_event_; }
  [[nodiscard]] std::uint8_t randr_event() const { return randr_event_; }
  [[nodiscard]] std::uint8_t shape_event() const { return shape_event_; }

  // Whether the server is gone; everything fails from then on.
  [[nodiscard]] bool is_broken() const { return xcb_connection_has_error(connection_) != 0; }

  // The reply to a request, null if it failed:
  //   Ask(xcb_get_geometry_reply, xcb_get_geometry(c.xcb(), window))
  template <class Reply, class Cookie>
  [[nodiscard]] XcbOwned<Reply> Ask(
      const ImportedFunction<Reply*(xcb_connection_t*, Cookie, xcb_generic_error_t**)>& reply,
      Cookie cookie) const {
    xcb_generic_error_t* error = nullptr;
    XcbOwned<Reply> answer(reply(connection_, cookie, &error));
    std::free(error);
    return answer;
  }

  // Whether a request without a reply succeeded; waits until the server has done it.
  bool Check(xcb_void_cookie_t cookie) const;

  // The next event that is there; null if there is none. Waits for nothing.
  [[nodiscard]] XcbOwned<xcb_generic_event_t> NextEvent();
  // Leaves out events that are there already; the others come as they would have.
  void DropEvents(const std::function<bool(const xcb_generic_event_t&)>& is_unwanted);

  [[nodiscard]] xcb_atom_t Atom(const std::string& name);
  [[nodiscard]] std::string AtomName(xcb_atom_t atom) const;

  // A property's bytes, or its 32-bit values; empty where it has none. At most 4 MiB.
  [[nodiscard]] std::string TextOf(xcb_window_t window, xcb_atom_t property) const;
  [[nodiscard]] std::vector<std::uint32_t> ValuesOf(xcb_window_t window, xcb_atom_t property) const;

  // Where the drawable lies in its parent; an empty one if it is gone.
  [[nodiscard]] video::Region GeometryOf(xcb_drawable_t drawable) const;
  [[nodiscard]] std::vector<xcb_window_t> ChildrenOf(xcb_window_t window) const;

 private:
  explicit X11Connection(xcb_connection_t* connection) : connection_(connection) {}

  // What the server lacks, empty if nothing.
  [[nodiscard]] std::string Prepare(int screen_number);
  [[nodiscard]] std::string FindScreen(int screen_number);
  // The number of an extension's first event; absent where the server has none of that name.
  [[nodiscard]] bool FindExtension(const std::string& name, std::uint8_t* first_event) const;

  xcb_connection_t* const connection_;
  xcb_window_t root_ = 0;
  bool has_shm_ = false;
  std::uint8_t damage_event_ = 0;
  std::uint8_t randr_event_ = 0;
  std::uint8_t shape_event_ = 0;
  std::map<std::string, xcb_atom_t> atoms_;
  std::deque<XcbOwned<xcb_generic_event_t>> events_;  // Read, and not asked for yet.
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_SCREEN_X11_CONNECTION_H_
