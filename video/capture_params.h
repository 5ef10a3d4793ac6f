#ifndef MOVRA_VIDEO_CAPTURE_PARAMS_H_
#define MOVRA_VIDEO_CAPTURE_PARAMS_H_

#include <cstdint>
#include <memory>
#include <string>

#include "base/optional.h"
#include "video/objc_wrapper.h"

// What a capture source is asked for. Every optional field that is absent means "the source's own
// choice" at a start and "unchanged" in an update. Copying a record copies each optional as a
// whole: an absent one in the source makes the target absent.

namespace movra::video {

struct CameraParams {
  // Device id; compared with VideoDeviceInfo::device_id. IsVirtualCameraId() tells the virtual
  // ones.
  std::string camera_id{};
  movra_base::Optional<std::uint8_t> facing{};
  movra_base::Optional<std::int32_t> orientation{};
  movra_base::Optional<std::int32_t> frame_rate{};  // Frames per second.
  // Asked-for size in pixels. A camera takes 0x0 and negative sides for its natural size; a
  // producer asks with these in kOwnSize alone, where 0x0 becomes the big stream's size, and -1x-1
  // stays.
  movra_base::Optional<std::int32_t> width{};
  movra_base::Optional<std::int32_t> height{};
  // Shown instead of camera pictures. Always the last field.
  movra_base::Optional<std::shared_ptr<ObjcWrapper<NSImage>>> cover_image{};

  [[nodiscard]] std::string ToString() const;
};

// A rectangle in pixels: position of the top left corner and extent.
struct Region {
  std::int32_t x = 0;
  std::int32_t y = 0;
  std::int32_t width = 0;
  std::int32_t height = 0;

  friend bool operator==(const Region&, const Region&) = default;
};
static_assert(sizeof(Region) == 16);

struct DesktopScreenParams {
  movra_base::Optional<std::int32_t> frame_rate{};  // Frames per second.
  movra_base::Optional<std::int64_t> source_id{};   // Display or window, from the source list.
  movra_base::Optional<Region> region{};            // Part of the source; absent: all of it.
  movra_base::Optional<std::int32_t> source_kind{};
  movra_base::Optional<bool> capture_cursor{};
  movra_base::Optional<bool> capture_children{};  // Pop-ups and dialogs of a shared window.
  movra_base::Optional<bool> show_border{};
  movra_base::Optional<std::int32_t> border_color{};  // 0xAARRGGBB.
  movra_base::Optional<std::int32_t> border_width{};  // Pixels.
  movra_base::Optional<bool> exclude_own_windows{};
  movra_base::Optional<bool> capture_covered{};  // A window also while others cover it.
  movra_base::Optional<bool> activate_window{};  // Bring a shared window to the front.
  movra_base::Optional<bool> high_dpi{};         // Device pixels instead of points.

  [[nodiscard]] std::string ToString() const;
};

struct MobileScreenParams {
  movra_base::Optional<std::int32_t> frame_rate{};  // Frames per second.
  movra_base::Optional<bool> landscape{};
  movra_base::Optional<Region> region{};

  [[nodiscard]] std::string ToString() const;
};

// A still picture shown instead of, or over, captured pictures. Made by the application and shared
// by std::shared_ptr.
struct VideoCoverImageParams {
  std::shared_ptr<ObjcWrapper<NSImage>> image{};
  std::int32_t image_option = 0;  // How the preprocessor places the image.

  [[nodiscard]] std::string ToString() const;
};

}  // namespace movra::video

#endif  // MOVRA_VIDEO_CAPTURE_PARAMS_H_
