// What each stream will be: what was asked for, completed from the shape and rate of the source.

#ifndef MOVRA_APP_STREAM_PLAN_H_
#define MOVRA_APP_STREAM_PLAN_H_

#include <cstdint>
#include <optional>
#include <vector>

#include "app/frame_rate.h"
#include "app/run_options.h"
#include "video/camera_service.h"
#include "video/size.h"
#include "video/video_types.h"

namespace movra::app {

struct StreamPlan {
  video::VideoStreamType type = video::VideoStreamType::kBig;
  video::Size size;
  FrameRate frame_rate;           // The highest; what the encoder is asked for.
  FrameRate expected_frame_rate;  // What the source gives below it.
  std::int32_t bitrate_bps = 0;
  std::optional<StreamTarget> target;  // As typed; absent for the default file.
  std::vector<StreamTarget> also;      // Further ones.
};

struct CapturePlan {
  std::vector<StreamPlan> streams;  // The big one first; at least one.
  video::ProducerMode mode = video::ProducerMode::kDefault;
  // Asked of the camera; absent: what follows from the mode, and the source's own rate.
  std::optional<video::Size> size;
  std::optional<std::int32_t> frame_rate;  // Cameras know whole rates alone.
};

[[nodiscard]] const char* StreamName(video::VideoStreamType type);  // "big", "small"

[[nodiscard]] CapturePlan PlanCapture(const RunOptions& options, const video::CameraInfo& source);

}  // namespace movra::app

#endif  // MOVRA_APP_STREAM_PLAN_H_
