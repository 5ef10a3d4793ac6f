#include "video/capture_params.h"

#include "video/record_printer.h"

namespace movra::video {
namespace {

movra_base::Optional<std::string> RegionText(const movra_base::Optional<Region>& region) {
  movra_base::Optional<std::string> text;
  if (region.has_value()) {
    const Region& r = region.value();
    text = std::to_string(r.width) + "x" + std::to_string(r.height) + "+" + std::to_string(r.x) +
           "+" + std::to_string(r.y);
  }
  return text;
}

}  // namespace

std::string CameraParams::ToString() const {
  const bool has_cover = cover_image.has_value() && cover_image.value() != nullptr;
  return RecordPrinter("CameraParams")
      .Field("camera_id", camera_id)
      .Field("facing", facing)
      .Field("orientation", orientation)
      .Field("frame_rate", frame_rate)
      .Field("width", width)
      .Field("height", height)
      .Field("cover_image", has_cover)
      .Finish();
}

std::string DesktopScreenParams::ToString() const {
  return RecordPrinter("DesktopScreenParams")
      .Field("frame_rate", frame_rate)
      .Field("source_id", source_id)
      .Field("region", RegionText(region))
      .Field("source_kind", source_kind)
      .Field("capture_cursor", capture_cursor)
      .Field("capture_children", capture_children)
      .Field("show_border", show_border)
      .Field("border_color", border_color)
      .Field("border_width", border_width)
      .Field("exclude_own_windows", exclude_own_windows)
      .Field("capture_covered", capture_covered)
      .Field("activate_window", activate_window)
      .Field("high_dpi", high_dpi)
      .Finish();
}

std::string MobileScreenParams::ToString() const {
  return RecordPrinter("MobileScreenParams")
      .Field("frame_rate", frame_rate)
      .Field("landscape", landscape)
      .Field("region", RegionText(region))
      .Finish();
}

std::string VideoCoverImageParams::ToString() const {
  return RecordPrinter("VideoCoverImageParams")
      .Field("image", image != nullptr)
      .Field("image_option", image_option)
      .Finish();
}

}  // namespace movra::video
