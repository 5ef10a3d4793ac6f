#ifndef MOVRA_VIDEO_TO_STRING_H_
#define MOVRA_VIDEO_TO_STRING_H_

#include <span>
#include <string>
#include <string_view>

#include "video/video_types.h"

// Text forms for log lines, and the table of names that each is made from. Every function is total:
// a value without a name prints its type and number, for example "MirrorMode(17)".

namespace movra::video {

template <class Enum>
struct NamedValue {
  Enum value;
  std::string_view name;  // As in the source: "kAuto".
};

// Every value of the enumeration that has a name, in the order of its declaration. For all
// enumerations of video/video_types.h that the producer's operations and events carry.
template <class Enum>
[[nodiscard]] std::span<const NamedValue<Enum>> NamedValues();

template <>
std::span<const NamedValue<VideoStreamType>> NamedValues();
template <>
std::span<const NamedValue<VideoProducerType>> NamedValues();
template <>
std::span<const NamedValue<VideoSourceType>> NamedValues();
template <>
std::span<const NamedValue<ProducerMode>> NamedValues();
template <>
std::span<const NamedValue<InterceptPosition>> NamedValues();
template <>
std::span<const NamedValue<SnapshotSourceType>> NamedValues();
template <>
std::span<const NamedValue<PixelFormat>> NamedValues();
template <>
std::span<const NamedValue<BufferType>> NamedValues();
template <>
std::span<const NamedValue<MirrorMode>> NamedValues();
template <>
std::span<const NamedValue<VideoRotation>> NamedValues();
template <>
std::span<const NamedValue<FillMode>> NamedValues();
template <>
std::span<const NamedValue<GSensorMode>> NamedValues();
template <>
std::span<const NamedValue<FrameAdaptiveMode>> NamedValues();
template <>
std::span<const NamedValue<BeautyStyle>> NamedValues();
template <>
std::span<const NamedValue<CapturerMode>> NamedValues();
template <>
std::span<const NamedValue<VideoRenderError>> NamedValues();
template <>
std::span<const NamedValue<VideoEncoderError>> NamedValues();
template <>
std::span<const NamedValue<VideoScreenSharingError>> NamedValues();
template <>
std::span<const NamedValue<VideoScreenSharingStoppedReason>> NamedValues();
template <>
std::span<const NamedValue<VideoScreenSharingPausedReason>> NamedValues();
template <>
std::span<const NamedValue<VideoScreenSharingResumedReason>> NamedValues();
template <>
std::span<const NamedValue<VideoCodec>> NamedValues();

[[nodiscard]] std::string VideoSourceTypeToString(VideoSourceType type);
[[nodiscard]] std::string VideoStreamTypeToString(VideoStreamType type);
[[nodiscard]] std::string PixelFormatToString(PixelFormat format);
[[nodiscard]] std::string BufferTypeToString(BufferType type);
[[nodiscard]] std::string MirrorModeToString(MirrorMode mode);
[[nodiscard]] std::string VideoRotationToString(VideoRotation rotation);
[[nodiscard]] std::string FillModeToString(FillMode mode);
[[nodiscard]] std::string GSensorModeToString(GSensorMode mode);
[[nodiscard]] std::string FrameAdaptiveModeToString(FrameAdaptiveMode mode);
[[nodiscard]] std::string ProducerModeToString(ProducerMode mode);
[[nodiscard]] std::string InterceptPositionToString(InterceptPosition position);
[[nodiscard]] std::string VideoCodecToString(VideoCodec codec);
[[nodiscard]] std::string VideoEncoderErrorToString(VideoEncoderError error);

}  // namespace movra::video

#endif  // MOVRA_VIDEO_TO_STRING_H_
