// Every record that an application fills in can be written with some of its fields named, and no
// compiler warns of the others.

#include "core/thread_manager.h"
#include "logging/log_sink.h"
#include "video/camera_service.h"
#include "video/capture_params.h"
#include "video/custom_process_params.h"
#include "video/encode_params.h"
#include "video/green_screen_params.h"
#include "video/pixel_frame.h"
#include "video/screen_source_info.h"
#include "video/size.h"
#include "video/stats.h"
#include "video/video_device_info.h"
#include "video/video_frame_track.h"

namespace movra::video {

inline const CameraParams kCamera{.camera_id = "test:", .frame_rate = 30};
inline const CameraParams kSizedCamera{.width = 1280, .height = 720};
inline const DesktopScreenParams kDesktop{.frame_rate = 15, .capture_cursor = true};
inline const MobileScreenParams kMobile{.frame_rate = 15};
inline const Region kRegion{.width = 16};
inline const VideoCoverImageParams kCover{.image_option = 1};

inline const EncodeParams kEncode{
    .width = 640, .height = 360, .frame_rate = 30, .bitrate_bps = 600'000, .preset = "fast"};
inline const EncodeParams kExactRate{.frame_rate_numerator = 30000, .frame_rate_denominator = 1001};
inline const EncoderProperty kProperty{.codec = 1};
inline const EncodeAbility kAbility{.roi = 1};
inline const RpsAck kAck{.ack_value = 1};
inline const RoiConfigInfo kRoi{.x = 1, .qp_delta = -3};

inline const CustomProcessParams kProcess{.enabled = true, .pixel_format = PixelFormat::kI420};
inline const PixelFrameFormat kFormat{.pixel_format = PixelFormat::kI420};
inline const GreenScreenParams kGreen{.enabled = true};

inline const Size kSize{.width = 640};
inline const ColorDescription kColor{.matrix = 1};
inline const PixelPlane kPlane{.stride = 640};
inline const PixelFrameInfo kFrame{.format = PixelFormat::kI420,
                                   .size = {.width = 640, .height = 360}};
inline const StreamEnd kEnd{.error_code = 1};
inline const StreamEnd kEndWithReason{.reason = "unplugged"};
inline const EncodedFrame kEncoded{.key_frame = true};

inline const CameraInfo kInfo{.natural_size = {640, 360}, .traits = {.has_end = true}};
inline const VideoDeviceInfo kDevice{.device_id = "test:"};
inline const ScreenSource kScreen{.id = 1};
inline const VideoProducerStats2 kStats{.capture_stat = 1};
inline const EncoderStats kEncoderStats{.implementation = "none"};
inline const RendererStats kRendererStats{.frames_rendered = 1};

inline const movra_logging::LogRecord kLine{.text = "line"};
inline const core::ThreadOption kThread{.name = "worker"};

}  // namespace movra::video
