#include "video/to_string.h"

#include <cstddef>
#include <string_view>

namespace movra::video {
namespace {

template <class Enum>
struct Name {
  Enum value;
  std::string_view text;
};

template <class Enum, std::size_t N>
std::string Find(const Name<Enum> (&names)[N], std::string_view type, Enum value) {
  for (const Name<Enum>& name : names) {
    if (name.value == value) return std::string(name.text);
  }
  return std::string(type) + "(" + std::to_string(static_cast<std::int32_t>(value)) + ")";
}

}  // namespace

std::string VideoSourceTypeToString(VideoSourceType type) {
  using enum VideoSourceType;
  static constexpr Name<VideoSourceType> kNames[] = {
      {kNone, "kNone"},     {kCamera, "kCamera"},
      {kScreen, "kScreen"}, {kVirtualCamera, "kVirtualCamera"},
      {kCustom, "kCustom"}, {kMirroredScreen, "kMirroredScreen"},
  };
  return Find(kNames, "VideoSourceType", type);
}

std::string VideoStreamTypeToString(VideoStreamType type) {
  using enum VideoStreamType;
  static constexpr Name<VideoStreamType> kNames[] = {{kBig, "kBig"}, {kSmall, "kSmall"}};
  return Find(kNames, "VideoStreamType", type);
}

std::string PixelFormatToString(PixelFormat format) {
  using enum PixelFormat;
  static constexpr Name<PixelFormat> kNames[] = {
      {kNone, "kNone"}, {kI420, "kI420"}, {kNV12, "kNV12"}, {kBGRA, "kBGRA"}, {kRGBA, "kRGBA"},
      {kI422, "kI422"}, {kI444, "kI444"}, {kGray, "kGray"}, {kI010, "kI010"},
  };
  return Find(kNames, "PixelFormat", format);
}

std::string BufferTypeToString(BufferType type) {
  using enum BufferType;
  static constexpr Name<BufferType> kNames[] = {{kMemory, "kMemory"}, {kTexture, "kTexture"}};
  return Find(kNames, "BufferType", type);
}

std::string MirrorModeToString(MirrorMode mode) {
  using enum MirrorMode;
  static constexpr Name<MirrorMode> kNames[] = {
      {kAuto, "kAuto"}, {kEnabled, "kEnabled"}, {kDisabled, "kDisabled"}};
  return Find(kNames, "MirrorMode", mode);
}

std::string VideoRotationToString(VideoRotation rotation) {
  using enum VideoRotation;
  static constexpr Name<VideoRotation> kNames[] = {
      {k0, "k0"}, {k90, "k90"}, {k180, "k180"}, {k270, "k270"}};
  return Find(kNames, "VideoRotation", rotation);
}

std::string FillModeToString(FillMode mode) {
  using enum FillMode;
  static constexpr Name<FillMode> kNames[] = {
      {kFill, "kFill"}, {kFit, "kFit"}, {kStretch, "kStretch"}};
  return Find(kNames, "FillMode", mode);
}

std::string GSensorModeToString(GSensorMode mode) {
  using enum GSensorMode;
  static constexpr Name<GSensorMode> kNames[] = {{kDisabled, "kDisabled"},
                                                 {kRotateToDevice, "kRotateToDevice"},
                                                 {kFollowLayout, "kFollowLayout"}};
  return Find(kNames, "GSensorMode", mode);
}

std::string FrameAdaptiveModeToString(FrameAdaptiveMode mode) {
  using enum FrameAdaptiveMode;
  static constexpr Name<FrameAdaptiveMode> kNames[] = {
      {kCrop, "kCrop"}, {kStretch, "kStretch"}, {kFit, "kFit"}};
  return Find(kNames, "FrameAdaptiveMode", mode);
}

std::string ProducerModeToString(ProducerMode mode) {
  using enum ProducerMode;
  static constexpr Name<ProducerMode> kNames[] = {{kDefault, "kDefault"},
                                                  {kEncodeSize, "kEncodeSize"},
                                                  {kLimitedSize, "kLimitedSize"},
                                                  {kOwnSize, "kOwnSize"}};
  return Find(kNames, "ProducerMode", mode);
}

std::string InterceptPositionToString(InterceptPosition position) {
  using enum InterceptPosition;
  static constexpr Name<InterceptPosition> kNames[] = {
      {kCaptured, "kCaptured"},
      {kBeautified, "kBeautified"},
      {kCustomProcessing, "kCustomProcessing"},
      {kPreview, "kPreview"},
      {kPreviewWithWatermark, "kPreviewWithWatermark"},
      {kEncoder, "kEncoder"},
  };
  return Find(kNames, "InterceptPosition", position);
}

std::string VideoCodecToString(VideoCodec codec) {
  static constexpr Name<VideoCodec> kNames[] = {{VideoCodec::kH264, "kH264"}};
  return Find(kNames, "VideoCodec", codec);
}

std::string VideoEncoderErrorToString(VideoEncoderError error) {
  using enum VideoEncoderError;
  static constexpr Name<VideoEncoderError> kNames[] = {
      {kNone, "kNone"},
      {kOpenFailed, "kOpenFailed"},
      {kEncodeFailed, "kEncodeFailed"},
      {kInputUnsupported, "kInputUnsupported"},
      {kReconfigureFailed, "kReconfigureFailed"},
      {kUnavailable, "kUnavailable"},
  };
  return Find(kNames, "VideoEncoderError", error);
}

}  // namespace movra::video
