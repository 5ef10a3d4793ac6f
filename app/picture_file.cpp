#include "app/picture_file.h"

#include <filesystem>
#include <future>
#include <memory>
#include <system_error>
#include <variant>

#include "media/capture/camera_error.h"
#include "media/capture/fit_frame.h"
#include "media/frame/convert_frame.h"
#include "media/frame/frame_pool.h"
#include "media/sources/source_kinds.h"

namespace movra::app {
namespace {

using media::CameraError;

Failure Refused(ExitCode code, const std::string& path, const std::string& why) {
  return {code, "'" + path + "' " + why + "; write a picture file, or '#rrggbb' for one colour"};
}

Result<video::PixelFrame> ReadFirstPicture(const std::string& path) {
  const auto source = media::MakeFrameSource(media::FileSourceId(path));
  const video::CameraInfo info = source->Open({});
  if (info.error_code != 0) {
    const std::string why =
        info.error_text.empty()
            ? media::CameraErrorToString(static_cast<CameraError>(info.error_code))
            : info.error_text;
    return Refused(ExitCode::kUnreadable, path, "is no picture (" + why + ")");
  }
  if (info.has_alpha) {
    return Refused(ExitCode::kNotBuilt, path, "has transparent parts, which cannot be kept yet");
  }
  while (true) {
    const media::SourceItem item = source->Read({});
    if (std::holds_alternative<video::StreamEnd>(item)) break;
    const auto* const picture = std::get_if<media::SourceFrame>(&item);
    if (picture == nullptr) continue;
    media::FramePool pool;
    const video::PixelFrame upright = media::FitFrame(*picture, {}, pool);
    video::PixelFrame bgra = media::ConvertFrame(upright, video::PixelFormat::kBGRA, pool);
    if (bgra) return bgra;
    return Refused(ExitCode::kNoResources, path, "is too large for the memory there is");
  }
  return Refused(ExitCode::kUnreadable, path, "has no picture that is whole");
}

}  // namespace

Result<video::PixelFrame> ReadPictureFile(const std::string& path) {
  // A pipe would be waited for.
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) {
    return Refused(ExitCode::kNoSuchFile, path, "is no file");
  }
  // Sources never run on the main queue's thread.
  return std::async(std::launch::async, ReadFirstPicture, path).get();
}

}  // namespace movra::app
