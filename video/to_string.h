#ifndef MOVRA_VIDEO_TO_STRING_H_
#define MOVRA_VIDEO_TO_STRING_H_

#include <string>

#include "video/video_types.h"

// Text forms for log lines. Every function is total: a value without a name prints its type and
// number, for example "MirrorMode(17)".

namespace movra::video {

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
