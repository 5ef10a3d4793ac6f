#ifndef MOVRA_MEDIA_SOURCES_SOURCE_KINDS_H_
#define MOVRA_MEDIA_SOURCES_SOURCE_KINDS_H_

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "media/camera/camera_service_impl.h"
#include "media/capture/frame_source.h"
#include "media/capture/source_kind.h"
#include "media/file/playback.h"
#include "video/video_device_info.h"

namespace movra::media {

// Every kind of source that there is: what help, completions, messages and the maker read. A new
// kind is a row here.
[[nodiscard]] std::span<const SourceKind> SourceKinds();

// The kind that has the id; null if none has.
[[nodiscard]] const SourceKind* FindSourceKind(std::string_view id);

// "test:, file:PATH, /dev/videoN, screen:NAME or window:TITLE"
[[nodiscard]] std::string SourceForms();

// Makes the source that an id names; one that says what there is where no kind has such ids. Never
// null. On any thread.
[[nodiscard]] std::unique_ptr<FrameSource> MakeFrameSource(const std::string& id);

// The id of a file, whatever its name holds.
[[nodiscard]] std::string FileSourceId(std::string_view path);

// What the id of a file says.
struct PlayedFileId {
  std::string path{};
  Playback playback{};
};
// Absent where the id is not one of a file. Options that are none play it like no option.
[[nodiscard]] std::optional<PlayedFileId> ParseFileSourceId(std::string_view id);

// The cameras that are plugged in, in the order of their numbers.
[[nodiscard]] std::vector<video::VideoDeviceInfo> ListDevices();

// What the camera service of this process is made of.
[[nodiscard]] CameraServiceParts DefaultCameraServiceParts();

}  // namespace movra::media

#endif  // MOVRA_MEDIA_SOURCES_SOURCE_KINDS_H_
