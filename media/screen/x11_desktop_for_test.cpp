#include "media/screen/x11_desktop_for_test.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>
#include <xcb/xcbext.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <utility>

namespace movra::media {
namespace {

constexpr std::chrono::seconds kLongestWait{60};

// The program's process id; it goes with this process. -1 without the program.
pid_t Spawn(const std::vector<std::string>& words, int kept_fd) {
  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  const pid_t child = fork();
  if (child != 0) return child;
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  const int nowhere = open("/dev/null", O_RDWR);
  for (const int fd : {0, 1, 2}) dup2(nowhere, fd);
  if (kept_fd >= 0) dup2(kept_fd, 3);
  execvp(arguments[0], arguments.data());
  _exit(127);
}

void End(pid_t& process) {
  if (process <= 0) return;
  kill(process, SIGKILL);
  waitpid(process, nullptr, 0);
  process = -1;
}

// The number that the server writes once it can be reached; empty if it ends instead.
std::string ReadDisplayNumber(int fd) {
  std::string text;
  char c = 0;
  pollfd wait{fd, POLLIN, 0};
  while (poll(&wait, 1, static_cast<int>(std::chrono::milliseconds(kLongestWait).count())) > 0 &&
         read(fd, &c, 1) == 1 && c != '\n') {
    text += c;
  }
  return text;
}

}  // namespace

bool WaitUntilSo(const std::function<bool()>& is_so) {
  const auto deadline = std::chrono::steady_clock::now() + kLongestWait;
  while (!is_so()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    poll(nullptr, 0, 2);
  }
  return true;
}

X11Desktop::X11Desktop(Manager manager) {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) return;
  server_ = Spawn(
      {"Xvfb", "-displayfd", "3", "-noreset", "-nolisten", "tcp", "-screen", "0", "640x480x24"},
      ends[1]);
  close(ends[1]);
  const std::string number = ReadDisplayNumber(ends[0]);
  close(ends[0]);
  if (number.empty()) return;
  setenv("DISPLAY", (":" + number).c_str(), 1);
  auto opened = X11Connection::Open();
  if (FailureOf(opened) != nullptr) return;
  auto connection = std::move(ValueOf(opened));
  if (manager == Manager::kOpenbox) {
    manager_ = Spawn({"openbox", "--sm-disable"}, -1);
    const xcb_atom_t check = connection->Atom("_NET_SUPPORTING_WM_CHECK");
    const bool is_up = WaitUntilSo([&] {
      return !connection->ValuesOf(connection->root(), check).empty() ||
             waitpid(manager_, nullptr, WNOHANG) == manager_;
    });
    if (!is_up || connection->ValuesOf(connection->root(), check).empty()) return;
  }
  connection_ = std::move(connection);
}

X11Desktop::~X11Desktop() {
  connection_.reset();
  End(manager_);
  End(server_);
  unsetenv("DISPLAY");
}

void X11Desktop::PaintBackground(std::uint32_t rgb) {
  connection_->Check(xcb_change_window_attributes_checked(connection_->xcb(), connection_->root(),
                                                          XCB_CW_BACK_PIXEL, &rgb));
  connection_->Check(
      xcb_clear_area_checked(connection_->xcb(), 0, connection_->root(), 0, 0, 0, 0));
}

void X11Desktop::MovePointer(int x, int y) {
  connection_->Check(xcb_warp_pointer_checked(connection_->xcb(), XCB_NONE, connection_->root(), 0,
                                              0, 0, 0, static_cast<std::int16_t>(x),
                                              static_cast<std::int16_t>(y)));
}

xcb_atom_t X11Desktop::AddMonitor(const std::string& name, const video::Region& area) {
  // By hand, because xcb_randr_set_monitor reads beyond what it is given.
  struct Request {
    xcb_randr_set_monitor_request_t head{};
    xcb_randr_monitor_info_t monitor{};
  } request;
  static_assert(sizeof(Request) == 32);
  request.head.window = connection_->root();
  request.monitor.name = connection_->Atom(name);
  request.monitor.x = static_cast<std::int16_t>(area.x);
  request.monitor.y = static_cast<std::int16_t>(area.y);
  request.monitor.width = static_cast<std::uint16_t>(area.width);
  request.monitor.height = static_cast<std::uint16_t>(area.height);
  const xcb_protocol_request_t protocol{1, &xcb_randr_id, XCB_RANDR_SET_MONITOR, 1};
  // The two in front are the library's.
  std::array<iovec, 3> parts{};
  parts[2] = {&request, sizeof(request)};
  const unsigned sequence =
      xcb_send_request(connection_->xcb(), XCB_REQUEST_CHECKED, &parts[2], &protocol);
  return connection_->Check({sequence}) ? request.monitor.name : xcb_atom_t{XCB_ATOM_NONE};
}

void X11Desktop::RemoveMonitor(xcb_atom_t monitor) {
  connection_->Check(
      xcb_randr_delete_monitor_checked(connection_->xcb(), connection_->root(), monitor));
}

TestWindow::TestWindow(X11Desktop& desktop, const Look& look)
    : connection_(desktop.connection()), id_(xcb_generate_id(connection_.xcb())) {
  xcb_connection_t* const xcb = connection_.xcb();
  const std::array<std::uint32_t, 2> values{look.rgb, look.is_managed ? 0U : 1U};
  connection_.Check(xcb_create_window_checked(
      xcb, XCB_COPY_FROM_PARENT, id_, connection_.root(), static_cast<std::int16_t>(look.area.x),
      static_cast<std::int16_t>(look.area.y), static_cast<std::uint16_t>(look.area.width),
      static_cast<std::uint16_t>(look.area.height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
      XCB_COPY_FROM_PARENT, XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values.data()));
  connection_.Check(xcb_change_property_checked(
      xcb, XCB_PROP_MODE_REPLACE, id_, connection_.Atom("_NET_WM_NAME"),
      connection_.Atom("UTF8_STRING"), 8, static_cast<std::uint32_t>(look.title.size()),
      look.title.data()));
  // USPosition, ICCCM 4.1.2.3: it is put where it asks to be.
  std::array<std::uint32_t, 18> hints{1};
  connection_.Check(xcb_change_property_checked(xcb, XCB_PROP_MODE_REPLACE, id_,
                                                XCB_ATOM_WM_NORMAL_HINTS, XCB_ATOM_WM_SIZE_HINTS,
                                                32, hints.size(), hints.data()));
  Restore();
}

TestWindow::~TestWindow() { Close(); }

void TestWindow::Paint(std::uint32_t rgb) {
  connection_.Check(
      xcb_change_window_attributes_checked(connection_.xcb(), id_, XCB_CW_BACK_PIXEL, &rgb));
  connection_.Check(xcb_clear_area_checked(connection_.xcb(), 0, id_, 0, 0, 0, 0));
}

void TestWindow::MoveTo(const video::Region& area) {
  const std::array<std::uint32_t, 4> values{
      static_cast<std::uint32_t>(area.x), static_cast<std::uint32_t>(area.y),
      static_cast<std::uint32_t>(area.width), static_cast<std::uint32_t>(area.height)};
  connection_.Check(xcb_configure_window_checked(connection_.xcb(), id_,
                                                 XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y |
                                                     XCB_CONFIG_WINDOW_WIDTH |
                                                     XCB_CONFIG_WINDOW_HEIGHT,
                                                 values.data()));
}

void TestWindow::Raise() {
  const std::uint32_t above = XCB_STACK_MODE_ABOVE;
  connection_.Check(
      xcb_configure_window_checked(connection_.xcb(), id_, XCB_CONFIG_WINDOW_STACK_MODE, &above));
}

void TestWindow::Minimise() {
  xcb_client_message_event_t event{};
  event.response_type = XCB_CLIENT_MESSAGE;
  event.format = 32;
  event.window = id_;
  event.type = connection_.Atom("WM_CHANGE_STATE");
  event.data.data32[0] = 3;  // IconicState, ICCCM 4.1.4.
  connection_.Check(xcb_send_event_checked(
      connection_.xcb(), 0, connection_.root(),
      XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
      reinterpret_cast<const char*>(&event)));
}

void TestWindow::Restore() {
  // Again and again, because a window manager that has just begun may miss it.
  const auto is_shown = [this] {
    connection_.Check(xcb_map_window_checked(connection_.xcb(), id_));
    return IsViewable();
  };
  if (!WaitUntilSo(is_shown)) std::abort();
}

void TestWindow::Close() {
  if (id_ != 0) connection_.Check(xcb_destroy_window_checked(connection_.xcb(), id_));
  id_ = 0;
}

void TestWindow::SetShape(const std::vector<video::Region>& parts) {
  std::vector<xcb_rectangle_t> rectangles;
  for (const video::Region& part : parts) {
    rectangles.push_back({static_cast<std::int16_t>(part.x), static_cast<std::int16_t>(part.y),
                          static_cast<std::uint16_t>(part.width),
                          static_cast<std::uint16_t>(part.height)});
  }
  connection_.Check(xcb_shape_rectangles_checked(
      connection_.xcb(), XCB_SHAPE_SO_SET, XCB_SHAPE_SK_BOUNDING, XCB_CLIP_ORDERING_UNSORTED, id_,
      0, 0, static_cast<std::uint32_t>(rectangles.size()), rectangles.data()));
}

bool TestWindow::IsViewable() {
  const auto attributes = connection_.Ask(xcb_get_window_attributes_reply,
                                          xcb_get_window_attributes(connection_.xcb(), id_));
  return attributes != nullptr && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
}

}  // namespace movra::media
