// The records of the collaborators that an application fills in, as those of video/.

#include <memory>

#include "media/camera/camera_service_impl.h"
#include "media/camera/test_camera.h"
#include "media/capture/capture_request.h"
#include "media/capture/frame_source.h"
#include "media/capture/source_id.h"
#include "media/capture/source_kind.h"
#include "media/encode/encoder_registry.h"
#include "media/encode/frame_encoder.h"
#include "media/output/contact_sheet.h"
#include "media/output/container_muxer.h"
#include "media/output/encoded_fan_out.h"
#include "media/output/encoded_file_writer.h"
#include "media/output/sink_kinds.h"
#include "media/output/write_error.h"
#include "media/sources/source_kinds.h"

namespace movra::media {

inline const CameraServiceParts kParts{.device_directory = "/dev"};
inline const TestCameraOptions kTestCamera{.frames = 90};
inline const CaptureRequest kRequest{.frame_rate = 30};
inline const SourceFrame kFrame{.upright_size = {640, 360}};
inline const SourcePolicy kPolicy{.paced = true};
inline const SourceOption kOption{.name = "loop"};
inline const SourceId kId{.address = "talk.mp4"};
inline const SourceOptionKind kOptionKind{.name = "loop"};
inline const SourceKind kKind{.prefix = "stripes:"};
inline const PlayedFileId kPlayed{.path = "talk.mp4"};
inline const Playback kPlayback{.loop = true};

inline const EncoderEntry kEncoder{.library = "none"};
inline const MissingEncoder kMissing{.reason = "not built"};
inline const StreamFormat kFormat{.size = {640, 360}};
inline const EncoderFailure kFailure{.text = "broken"};

inline const EncodedFileWriterOptions kFile{.path = "big.mp4"};
inline const EncodedFileWriterOptions kOpenFile{.stays_open = true,
                                                .on_error = [](const WriteError&) {}};
inline const SinkRequest kSink{.path = "big.mp4", .overwrite = true};
inline const SinkQueue kQueue{.max_frames = 1};
inline const FanOutSink kFanOut{.sink = nullptr};
inline const SinkAddress kAddress{.scheme = "file"};
inline const WriteError kError{.text = "disk full"};
inline const ContactSheetRow kRow{.path = "big.mp4"};
inline const MuxTrack kTrack{.size = {640, 360}};
inline const MuxPacket kPacket{.data = {}};

}  // namespace movra::media
