// A real desktop for tests: an X server without a screen, a window manager, and windows.

#ifndef MOVRA_MEDIA_SCREEN_X11_DESKTOP_FOR_TEST_H_
#define MOVRA_MEDIA_SCREEN_X11_DESKTOP_FOR_TEST_H_

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "media/screen/x11_connection.h"
#include "video/capture_params.h"

namespace movra::media {

// Looks again and again, at most for a long while, until it is so.
[[nodiscard]] bool WaitUntilSo(const std::function<bool()>& is_so);

// An X server of 640x480 pixels, to which DISPLAY points while it lives.
class X11Desktop {
 public:
  enum class Manager { kNone, kOpenbox };

  explicit X11Desktop(Manager manager = Manager::kNone);
  ~X11Desktop();
  X11Desktop(const X11Desktop&) = delete;
  X11Desktop& operator=(const X11Desktop&) = delete;

  // Whether it runs; false where the packages for it are missing.
  [[nodiscard]] bool is_there() const { return connection_ != nullptr; }
  [[nodiscard]] X11Connection& connection() { return *connection_; }

  // Paints what is behind all windows.
  void PaintBackground(std::uint32_t rgb);
  void MovePointer(int x, int y);
  // A monitor that shows this part of the desktop; its number.
  xcb_atom_t AddMonitor(const std::string& name, const video::Region& area);
  void RemoveMonitor(xcb_atom_t monitor);

 private:
  pid_t server_ = -1;
  pid_t manager_ = -1;
  std::unique_ptr<X11Connection> connection_;
};

// A window of one colour, which the server repaints by itself; shown when it is made.
class TestWindow {
 public:
  struct Look {
    video::Region area;
    std::uint32_t rgb = 0;
    std::string title{};
    bool is_managed = false;  // Whether the window manager has its hands on it.
  };

  TestWindow(X11Desktop& desktop, const Look& look);
  ~TestWindow();
  TestWindow(const TestWindow&) = delete;
  TestWindow& operator=(const TestWindow&) = delete;

  [[nodiscard]] xcb_window_t id() const { return id_; }
  void Paint(std::uint32_t rgb);
  void MoveTo(const video::Region& area);
  void Raise();
  void Minimise();
  void Restore();
  void Close();
  // Shows only these parts of it.
  void SetShape(const std::vector<video::Region>& parts);
  [[nodiscard]] bool IsViewable();

 private:
  X11Connection& connection_;
  xcb_window_t id_ = 0;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_SCREEN_X11_DESKTOP_FOR_TEST_H_
