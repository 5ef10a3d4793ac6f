#ifndef MOVRA_VIDEO_PRODUCER_CAPTURE_RULES_H_
#define MOVRA_VIDEO_PRODUCER_CAPTURE_RULES_H_

#include "base/optional.h"
#include "video/encode_params.h"
#include "video/size.h"
#include "video/video_types.h"

// The producer's decisions that need no collaborator. Pure functions; any thread.

namespace movra::video {

// The size in pixels to ask the camera for, from the size the application asks for and the big
// stream's encode size. Landscape in every mode but kOwnSize, which keeps the orientation of what
// it takes; 0x0 for a mode without a name.
[[nodiscard]] Size CalculateCaptureSize(ProducerMode mode, const Size& input,
                                        const Size& encode_size);

// Whether the source counts as a screen.
[[nodiscard]] bool IsScreenSource(VideoSourceType source);

// The application's own mode if it set one; otherwise screens are kept whole and everything else
// is cropped to fill.
[[nodiscard]] FrameAdaptiveMode CalculateFrameAdaptiveMode(
    const movra_base::Optional<FrameAdaptiveMode>& own_mode, VideoSourceType source);

// Whether the parameters ask for the size and frame rate that the stream has already. The size
// takes part only when both sides are given, the rate only when it is given.
[[nodiscard]] bool AreEncodeParamsUnchanged(const EncodeParams& params, const Size& encode_size,
                                            std::int32_t encode_frame_rate);

}  // namespace movra::video

#endif  // MOVRA_VIDEO_PRODUCER_CAPTURE_RULES_H_
