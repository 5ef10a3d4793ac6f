#include "testing/describe.h"

#include <array>
#include <charconv>
#include <cstdint>
#include <cstdio>

#include "video/to_string.h"

namespace movra::testing {
namespace {

template <class T>
std::string ShortestText(T value) {
  std::array<char, 32> text{};
  const auto result = std::to_chars(text.data(), text.data() + text.size(), value);
  return {text.data(), result.ptr};
}

// The pieces of a record, "{first second}".
class Pieces {
 public:
  Pieces& Add(const std::string& piece) {
    if (piece.empty()) return *this;
    if (text_.size() > 1) text_ += ' ';
    text_ += piece;
    return *this;
  }

  template <class T>
  Pieces& Add(std::string_view name, const movra_base::Optional<T>& value) {
    if (value.has_value()) Add(std::string(name) + "=" + Describe(value.value()));
    return *this;
  }

  [[nodiscard]] std::string Finish() { return text_ + "}"; }

 private:
  std::string text_ = "{";
};

using OptionalInt = movra_base::Optional<std::int32_t>;

// "1280x720@30" with what is there of it.
std::string SizeAndRate(const OptionalInt& width, const OptionalInt& height,
                        const OptionalInt& rate) {
  std::string text;
  if (width.has_value() || height.has_value()) {
    text = (width.has_value() ? Describe(width.value()) : "-") + "x" +
           (height.has_value() ? Describe(height.value()) : "-");
  }
  if (rate.has_value()) text += "@" + Describe(rate.value());
  return text;
}

// "640x360+1+2"
template <class T>
std::string RegionText(T width, T height, T x, T y) {
  return Describe(width) + "x" + Describe(height) + "+" + Describe(x) + "+" + Describe(y);
}

}  // namespace

std::string Describe(bool value) { return value ? "true" : "false"; }
std::string Describe(float value) { return ShortestText(value); }
std::string Describe(double value) { return ShortestText(value); }
std::string Describe(const std::string& text) { return text; }
std::string Describe(const char* text) { return text; }

std::string Describe(video::VideoSourceType value) { return VideoSourceTypeToString(value); }
std::string Describe(video::VideoStreamType value) { return VideoStreamTypeToString(value); }
std::string Describe(video::PixelFormat value) { return PixelFormatToString(value); }
std::string Describe(video::BufferType value) { return BufferTypeToString(value); }
std::string Describe(video::MirrorMode value) { return MirrorModeToString(value); }
std::string Describe(video::VideoRotation value) { return VideoRotationToString(value); }
std::string Describe(video::FillMode value) { return FillModeToString(value); }
std::string Describe(video::GSensorMode value) { return GSensorModeToString(value); }
std::string Describe(video::FrameAdaptiveMode value) { return FrameAdaptiveModeToString(value); }
std::string Describe(video::ProducerMode value) { return ProducerModeToString(value); }
std::string Describe(video::InterceptPosition value) { return InterceptPositionToString(value); }
std::string Describe(video::VideoEncoderError value) { return VideoEncoderErrorToString(value); }

std::string Describe(const video::Size& size) {
  return Describe(size.width) + "x" + Describe(size.height);
}

std::string Describe(const video::VideoContext& context) {
  return Pieces().Add(Describe(context.trace().id())).Add(context.log_tag()).Finish();
}

std::string Describe(const video::CameraParams& params) {
  return Pieces()
      .Add(params.camera_id)
      .Add(SizeAndRate(params.width, params.height, params.frame_rate))
      .Add("facing", params.facing)
      .Add("orientation", params.orientation)
      .Add("cover", params.cover_image)
      .Finish();
}

std::string Describe(const video::DesktopScreenParams& params) {
  return Pieces()
      .Add(SizeAndRate({}, {}, params.frame_rate))
      .Add("source_id", params.source_id)
      .Add("region", params.region)
      .Add("kind", params.source_kind)
      .Add("cursor", params.capture_cursor)
      .Add("children", params.capture_children)
      .Add("border", params.show_border)
      .Add("border_color", params.border_color)
      .Add("border_width", params.border_width)
      .Add("exclude_own", params.exclude_own_windows)
      .Add("covered", params.capture_covered)
      .Add("activate", params.activate_window)
      .Add("high_dpi", params.high_dpi)
      .Finish();
}

std::string Describe(const video::MobileScreenParams& params) {
  return Pieces()
      .Add(SizeAndRate({}, {}, params.frame_rate))
      .Add("landscape", params.landscape)
      .Add("region", params.region)
      .Finish();
}

std::string Describe(const video::Region& region) {
  return RegionText(region.width, region.height, region.x, region.y);
}

std::string Describe(const video::VideoCoverImageParams& params) {
  return Pieces().Add(Describe(params.image)).Add(Describe(params.image_option)).Finish();
}

std::string Describe(const std::shared_ptr<video::VideoCoverImageParams>& params) {
  return params == nullptr ? "null" : Describe(*params);
}

std::string Describe(const video::EncodeParams& params) {
  return Pieces()
      .Add(SizeAndRate(params.width, params.height, params.frame_rate))
      .Add("codec", params.codec)
      .Add("bitrate_bps", params.bitrate_bps)
      .Add("max_bitrate_bps", params.max_bitrate_bps)
      .Add("key_frame_interval_ms", params.key_frame_interval_ms)
      .Add("threads", params.threads)
      .Add("preset", params.preset)
      .Add("frame_rate_numerator", params.frame_rate_numerator)
      .Add("frame_rate_denominator", params.frame_rate_denominator)
      .Finish();
}

std::string Describe(const video::CustomProcessParams& params) {
  return Pieces()
      .Add(Describe(video::Size{params.width, params.height}))
      .Add(params.enabled ? "enabled" : "disabled")
      .Add(Describe(params.buffer_type))
      .Add(Describe(params.pixel_format))
      .Add(params.reserved == 0 ? "" : "reserved=" + Describe(params.reserved))
      .Add(Describe(params.stream_type))
      .Finish();
}

std::string Describe(const video::PixelFrameFormat& format) {
  return Pieces().Add(Describe(format.buffer_type)).Add(Describe(format.pixel_format)).Finish();
}

std::string Describe(const video::EncoderProperty& property) {
  const auto size = static_cast<std::uint64_t>(property.size);
  return Pieces()
      .Add(Describe(property.codec))
      .Add(Describe(size >> 32) + "x" + Describe(size & 0xFFFFFFFFu))
      .Add(property.implementation)
      .Finish();
}

std::string Describe(const video::EncodeAbility& ability) {
  return Pieces()
      .Add(Describe(ability.roi))
      .Add(Describe(ability.reference_selection))
      .Add(Describe(ability.software_encoder))
      .Add(Describe(ability.hardware_encoder))
      .Finish();
}

std::string Describe(const video::RoiConfigInfo& region) {
  return Pieces()
      .Add(RegionText(region.width, region.height, region.x, region.y))
      .Add("qp" + Describe(region.qp_delta))
      .Finish();
}

std::string Describe(const video::GreenScreenParams& params) {
  std::array<char, 16> color{};
  std::snprintf(color.data(), color.size(), "%06X", static_cast<unsigned>(params.key_color));
  return Pieces()
      .Add(params.enabled ? "enabled" : "disabled")
      .Add(color.data())
      .Add(Describe(params.similarity))
      .Add(Describe(params.smoothness))
      .Add(Describe(params.background))
      .Finish();
}

std::string Describe(const video::VideoDeviceInfo& device) {
  return Pieces()
      .Add(device.device_id)
      .Add(device.name.empty() ? "" : "name=" + device.name)
      .Add(device.driver.empty() ? "" : "driver=" + device.driver)
      .Add(device.capabilities == 0 ? "" : "capabilities=" + Describe(device.capabilities))
      .Finish();
}

std::string Describe(const EventMsg& message) {
  return message.detail.empty() ? message.text : message.text + " | " + message.detail;
}

std::string Describe(const movra_base::Value& value) { return value.ToString(); }

std::string Describe(const video::PixelFrame& frame) {
  return frame ? "frame " + Describe(frame.info().sequence) : "no frame";
}

std::string Describe(const video::StreamEnd& end) { return "end " + Describe(end.error_code); }

}  // namespace movra::testing
