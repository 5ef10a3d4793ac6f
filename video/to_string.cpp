#include "video/to_string.h"

#include <cstdint>

namespace movra::video {
namespace {

template <class Enum>
std::string TextOf(std::string_view type, Enum value) {
  for (const NamedValue<Enum>& named : NamedValues<Enum>()) {
    if (named.value == value) return std::string(named.name);
  }
  return std::string(type) + "(" + std::to_string(static_cast<std::int32_t>(value)) + ")";
}

}  // namespace

template <>
std::span<const NamedValue<VideoStreamType>> NamedValues() {
  using enum VideoStreamType;
  static constexpr NamedValue<VideoStreamType> kNames[] = {{kBig, "kBig"}, {kSmall, "kSmall"}};
  return kNames;
}

template <>
std::span<const NamedValue<VideoProducerType>> NamedValues() {
  using enum VideoProducerType;
  static constexpr NamedValue<VideoProducerType> kNames[] = {{kDefault, "kDefault"}};
  return kNames;
}

template <>
std::span<const NamedValue<VideoSourceType>> NamedValues() {
  using enum VideoSourceType;
  static constexpr NamedValue<VideoSourceType> kNames[] = {
      {kNone, "kNone"},     {kCamera, "kCamera"},
      {kScreen, "kScreen"}, {kVirtualCamera, "kVirtualCamera"},
      {kCustom, "kCustom"}, {kMirroredScreen, "kMirroredScreen"}};
  return kNames;
}

template <>
std::span<const NamedValue<ProducerMode>> NamedValues() {
  using enum ProducerMode;
  static constexpr NamedValue<ProducerMode> kNames[] = {{kDefault, "kDefault"},
                                                        {kEncodeSize, "kEncodeSize"},
                                                        {kLimitedSize, "kLimitedSize"},
                                                        {kOwnSize, "kOwnSize"}};
  return kNames;
}

template <>
std::span<const NamedValue<InterceptPosition>> NamedValues() {
  using enum InterceptPosition;
  static constexpr NamedValue<InterceptPosition> kNames[] = {
      {kCaptured, "kCaptured"},
      {kBeautified, "kBeautified"},
      {kCustomProcessing, "kCustomProcessing"},
      {kPreview, "kPreview"},
      {kPreviewWithWatermark, "kPreviewWithWatermark"},
      {kEncoder, "kEncoder"}};
  return kNames;
}

template <>
std::span<const NamedValue<SnapshotSourceType>> NamedValues() {
  using enum SnapshotSourceType;
  static constexpr NamedValue<SnapshotSourceType> kNames[] = {{kPreprocessor, "kPreprocessor"},
                                                              {kLocalRenderer, "kLocalRenderer"}};
  return kNames;
}

template <>
std::span<const NamedValue<PixelFormat>> NamedValues() {
  using enum PixelFormat;
  static constexpr NamedValue<PixelFormat> kNames[] = {
      {kNone, "kNone"}, {kI420, "kI420"}, {kNV12, "kNV12"}, {kBGRA, "kBGRA"}, {kRGBA, "kRGBA"},
      {kI422, "kI422"}, {kI444, "kI444"}, {kGray, "kGray"}, {kI010, "kI010"}};
  return kNames;
}

template <>
std::span<const NamedValue<BufferType>> NamedValues() {
  using enum BufferType;
  static constexpr NamedValue<BufferType> kNames[] = {{kMemory, "kMemory"}, {kTexture, "kTexture"}};
  return kNames;
}

template <>
std::span<const NamedValue<MirrorMode>> NamedValues() {
  using enum MirrorMode;
  static constexpr NamedValue<MirrorMode> kNames[] = {
      {kAuto, "kAuto"}, {kEnabled, "kEnabled"}, {kDisabled, "kDisabled"}};
  return kNames;
}

template <>
std::span<const NamedValue<VideoRotation>> NamedValues() {
  using enum VideoRotation;
  static constexpr NamedValue<VideoRotation> kNames[] = {
      {k0, "k0"}, {k90, "k90"}, {k180, "k180"}, {k270, "k270"}};
  return kNames;
}

template <>
std::span<const NamedValue<FillMode>> NamedValues() {
  using enum FillMode;
  static constexpr NamedValue<FillMode> kNames[] = {
      {kFill, "kFill"}, {kFit, "kFit"}, {kStretch, "kStretch"}};
  return kNames;
}

template <>
std::span<const NamedValue<GSensorMode>> NamedValues() {
  using enum GSensorMode;
  static constexpr NamedValue<GSensorMode> kNames[] = {{kDisabled, "kDisabled"},
                                                       {kRotateToDevice, "kRotateToDevice"},
                                                       {kFollowLayout, "kFollowLayout"}};
  return kNames;
}

template <>
std::span<const NamedValue<FrameAdaptiveMode>> NamedValues() {
  using enum FrameAdaptiveMode;
  static constexpr NamedValue<FrameAdaptiveMode> kNames[] = {
      {kCrop, "kCrop"}, {kStretch, "kStretch"}, {kFit, "kFit"}};
  return kNames;
}

template <>
std::span<const NamedValue<BeautyStyle>> NamedValues() {
  using enum BeautyStyle;
  static constexpr NamedValue<BeautyStyle> kNames[] = {
      {kSmooth, "kSmooth"}, {kNatural, "kNatural"}, {kClear, "kClear"}};
  return kNames;
}

template <>
std::span<const NamedValue<CapturerMode>> NamedValues() {
  using enum CapturerMode;
  static constexpr NamedValue<CapturerMode> kNames[] = {{kUnknown, "kUnknown"},
                                                        {kDisplay, "kDisplay"},
                                                        {kWindow, "kWindow"},
                                                        {kRegion, "kRegion"},
                                                        {kComposed, "kComposed"}};
  return kNames;
}

template <>
std::span<const NamedValue<VideoRenderError>> NamedValues() {
  using enum VideoRenderError;
  static constexpr NamedValue<VideoRenderError> kNames[] = {
      {kNone, "kNone"}, {kNoDisplay, "kNoDisplay"}, {kViewLost, "kViewLost"}};
  return kNames;
}

template <>
std::span<const NamedValue<VideoEncoderError>> NamedValues() {
  using enum VideoEncoderError;
  static constexpr NamedValue<VideoEncoderError> kNames[] = {
      {kNone, "kNone"},
      {kOpenFailed, "kOpenFailed"},
      {kEncodeFailed, "kEncodeFailed"},
      {kInputUnsupported, "kInputUnsupported"},
      {kReconfigureFailed, "kReconfigureFailed"},
      {kUnavailable, "kUnavailable"}};
  return kNames;
}

template <>
std::span<const NamedValue<VideoScreenSharingError>> NamedValues() {
  using enum VideoScreenSharingError;
  static constexpr NamedValue<VideoScreenSharingError> kNames[] = {
      {kNone, "kNone"},
      {kUnavailable, "kUnavailable"},
      {kSourceNotFound, "kSourceNotFound"},
      {kCaptureFailed, "kCaptureFailed"},
      {kNoDisplay, "kNoDisplay"},
      {kNotPermitted, "kNotPermitted"}};
  return kNames;
}

template <>
std::span<const NamedValue<VideoScreenSharingStoppedReason>> NamedValues() {
  using enum VideoScreenSharingStoppedReason;
  static constexpr NamedValue<VideoScreenSharingStoppedReason> kNames[] = {
      {kByRequest, "kByRequest"},
      {kSourceClosed, "kSourceClosed"},
      {kFailed, "kFailed"},
      {kMonitorGone, "kMonitorGone"}};
  return kNames;
}

template <>
std::span<const NamedValue<VideoScreenSharingPausedReason>> NamedValues() {
  using enum VideoScreenSharingPausedReason;
  static constexpr NamedValue<VideoScreenSharingPausedReason> kNames[] = {
      {kByRequest, "kByRequest"}, {kMinimised, "kMinimised"}};
  return kNames;
}

template <>
std::span<const NamedValue<VideoScreenSharingResumedReason>> NamedValues() {
  using enum VideoScreenSharingResumedReason;
  static constexpr NamedValue<VideoScreenSharingResumedReason> kNames[] = {
      {kByRequest, "kByRequest"}, {kRestored, "kRestored"}};
  return kNames;
}

template <>
std::span<const NamedValue<VideoCodec>> NamedValues() {
  using enum VideoCodec;
  static constexpr NamedValue<VideoCodec> kNames[] = {{kH264, "kH264"}};
  return kNames;
}

std::string VideoSourceTypeToString(VideoSourceType type) {
  return TextOf("VideoSourceType", type);
}

std::string VideoStreamTypeToString(VideoStreamType type) {
  return TextOf("VideoStreamType", type);
}

std::string PixelFormatToString(PixelFormat format) { return TextOf("PixelFormat", format); }

std::string BufferTypeToString(BufferType type) { return TextOf("BufferType", type); }

std::string MirrorModeToString(MirrorMode mode) { return TextOf("MirrorMode", mode); }

std::string VideoRotationToString(VideoRotation rotation) {
  return TextOf("VideoRotation", rotation);
}

std::string FillModeToString(FillMode mode) { return TextOf("FillMode", mode); }

std::string GSensorModeToString(GSensorMode mode) { return TextOf("GSensorMode", mode); }

std::string FrameAdaptiveModeToString(FrameAdaptiveMode mode) {
  return TextOf("FrameAdaptiveMode", mode);
}

std::string ProducerModeToString(ProducerMode mode) { return TextOf("ProducerMode", mode); }

std::string InterceptPositionToString(InterceptPosition position) {
  return TextOf("InterceptPosition", position);
}

std::string VideoCodecToString(VideoCodec codec) { return TextOf("VideoCodec", codec); }

std::string VideoEncoderErrorToString(VideoEncoderError error) {
  return TextOf("VideoEncoderError", error);
}

}  // namespace movra::video
