#include "media/screen/find_screen.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <utility>
#include <vector>

#include "media/capture/source_id.h"
#include "media/screen/desktop_target.h"
#include "media/screen/window_target.h"
#include "media/screen/x11_monitors.h"
#include "media/screen/x11_screen_source.h"
#include "media/screen/x11_windows.h"

namespace movra::media {

using video::DesktopScreenParams;

namespace {

Failure<CameraError> NoSuch(std::string text) {
  return {CameraError::kNoSuchCamera, std::move(text)};
}

std::optional<xcb_window_t> WindowNumber(std::string_view text) {
  const bool is_hexadecimal = text.starts_with("0x");
  if (is_hexadecimal) text.remove_prefix(2);
  xcb_window_t number = 0;
  const char* const end = text.data() + text.size();
  const auto parsed = std::from_chars(text.data(), end, number, is_hexadecimal ? 16 : 10);
  if (parsed.ec != std::errc() || parsed.ptr != end || number == 0) return std::nullopt;
  return number;
}

std::string HexText(xcb_window_t window) {
  char digits[8];
  const auto written = std::to_chars(digits, digits + sizeof(digits), window, 16);
  return "0x" + std::string(digits, written.ptr);
}

// "window:0x400007 (Terminal), window:0x600003 (Clock)"
std::string TextOf(const std::vector<X11Window>& windows) {
  std::string text;
  for (const X11Window& window : windows) {
    if (!text.empty()) text += ", ";
    text += "window:" + HexText(window.id) + " (" + window.title + ")";
  }
  return text;
}

DesktopScreenParams ParamsOf(std::int64_t id, std::int32_t kind) {
  DesktopScreenParams params;
  params.source_id = id;
  params.source_kind = kind;
  return params;
}

Result<DesktopScreenParams, CameraError> FindMonitor(const X11Connection& connection,
                                                     const std::string& name) {
  std::string names;
  for (const X11Monitor& monitor : ListMonitors(connection)) {
    if (monitor.name == name) return ParamsOf(std::int64_t{monitor.id}, kDisplayKind);
    names += (names.empty() ? "" : ", ") + std::string(kScreenPrefix) + monitor.name;
  }
  return NoSuch("there is no monitor '" + name + "'; there is " + names +
                ", and screen: for the whole desktop");
}

Result<DesktopScreenParams, CameraError> FindWindow(X11Connection& connection,
                                                    const std::string& name) {
  if (const auto number = WindowNumber(name)) {
    if (!IsEmpty(connection.GeometryOf(*number))) {
      return ParamsOf(std::int64_t{*number}, kWindowKind);
    }
    return NoSuch("there is no window " + name);
  }
  const std::vector<X11Window> windows = ListWindows(connection);
  std::vector<X11Window> matching;
  for (const bool whole : {true, false}) {
    if (!matching.empty()) break;
    std::copy_if(
        windows.begin(), windows.end(), std::back_inserter(matching), [&](const X11Window& window) {
          return whole ? window.title == name : window.title.find(name) != std::string::npos;
        });
  }
  if (matching.size() == 1) return ParamsOf(std::int64_t{matching.front().id}, kWindowKind);
  if (!matching.empty()) {
    return NoSuch("several windows are called '" + name + "': " + TextOf(matching));
  }
  if (windows.empty()) return NoSuch("no window is called '" + name + "'; there is none at all");
  return NoSuch("no window is called '" + name + "'; there is " + TextOf(windows));
}

}  // namespace

Result<DesktopScreenParams, CameraError> FindScreen(X11Connection& connection,
                                                    const std::string& id) {
  const bool is_window = id.starts_with(kWindowPrefix);
  const SourceId parts = ParseSourceId(
      std::string_view(id).substr((is_window ? kWindowPrefix : kScreenPrefix).size()));
  if (!parts.options.empty()) {
    return Failure<CameraError>{CameraError::kBadOption,
                                "'" + id +
                                    "': a screen takes no options; write %3F for a ? in a "
                                    "name"};
  }
  if (is_window) return FindWindow(connection, parts.address);
  if (parts.address.empty()) return ParamsOf(kWholeDesktop, kDisplayKind);
  return FindMonitor(connection, parts.address);
}

Result<DesktopScreenParams, CameraError> FindScreen(const std::string& id) {
  const auto connection = X11Connection::Open();
  if (const auto* const failure = FailureOf(connection)) return *failure;
  return FindScreen(*ValueOf(connection), id);
}

std::unique_ptr<FrameSource> MakeScreenSource(const std::string& id) {
  return std::make_unique<X11ScreenSource>(id);
}

Result<std::unique_ptr<ScreenTarget>, CameraError> MakeScreenTarget(
    X11Connection& connection, const DesktopScreenParams& params) {
  const std::int64_t id = params.source_id.value_or(kWholeDesktop);
  std::int32_t kind = params.source_kind.value_or(kDisplayKind);
  if (kind == kPortalKind || id == kPortal) {
    return Failure<CameraError>{CameraError::kUnavailable,
                                "screens of Wayland cannot be captured yet"};
  }
  if (id < 0 || id > 0xFFFFFFFF || kind < 0 || kind > kWindowKind) {
    return NoSuch("there is no screen or window " + std::to_string(id));
  }
  const auto number = static_cast<std::uint32_t>(id);
  if (!params.source_kind.has_value() && id != kWholeDesktop) {
    const auto monitors = ListMonitors(connection);
    const bool is_monitor =
        std::any_of(monitors.begin(), monitors.end(),
                    [number](const X11Monitor& monitor) { return monitor.id == number; });
    kind = is_monitor ? kDisplayKind : kWindowKind;
  }
  if (kind == kDisplayKind) return std::make_unique<DesktopTarget>(connection, number);
  return std::make_unique<WindowTarget>(connection, number);
}

}  // namespace movra::media
