// Screens and windows as sources: their ids, and what is made of those.

#ifndef MOVRA_MEDIA_SCREEN_SCREEN_SOURCE_H_
#define MOVRA_MEDIA_SCREEN_SCREEN_SOURCE_H_

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "media/capture/camera_error.h"
#include "media/capture/frame_source.h"
#include "media/result/result.h"
#include "video/capture_params.h"

namespace movra::media {

// What DesktopScreenParams::source_kind and ScreenSource::kind say.
inline constexpr std::int32_t kDisplayKind = 0;
inline constexpr std::int32_t kWindowKind = 1;
inline constexpr std::int32_t kPortalKind = 2;

// What DesktopScreenParams::source_id says besides the numbers of monitors and windows.
inline constexpr std::int64_t kWholeDesktop = 0;
inline constexpr std::int64_t kPortal = -1;
inline constexpr std::int64_t kPhone = -2;

inline constexpr std::string_view kScreenPrefix = "screen:";
inline constexpr std::string_view kWindowPrefix = "window:";

// The source and its kind that an id names:
//   screen:         the whole desktop
//   screen:NAME     a monitor by its name
//   window:ID       a window by its number, 4194311 or 0x400007
//   window:TITLE    the one window with this title or, where none has it, that contains it
// The failure says what there is. Asks the desktop and waits for its answer; on any thread.
[[nodiscard]] Result<video::DesktopScreenParams, CameraError> FindScreen(const std::string& id);

// Captures what an id names, in its own size.
[[nodiscard]] std::unique_ptr<FrameSource> MakeScreenSource(const std::string& id);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_SCREEN_SCREEN_SOURCE_H_
