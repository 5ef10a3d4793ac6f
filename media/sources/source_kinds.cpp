#include "media/sources/source_kinds.h"

#include <algorithm>
#include <array>
#include <utility>
#include <variant>

#include "media/camera/test_camera.h"
#include "media/camera/v4l2_camera.h"
#include "media/camera/v4l2_devices.h"
#include "media/capture/camera_error.h"
#include "media/capture/refused_source.h"
#include "media/capture/source_id.h"
#include "media/file/file_source.h"
#include "media/file/playback.h"
#include "media/file/y4m_reader.h"
#include "media/screen/screen_source.h"

namespace movra::media {
namespace {

constexpr std::string_view kFilePrefix = "file:";

std::unique_ptr<FrameSource> MakeTest(const std::string& id) {
  return std::make_unique<TestCamera>(id);
}

std::unique_ptr<FrameSource> MakeFile(const std::string& id) {
  const SourceId parts = ParseSourceId(std::string_view(id).substr(kFilePrefix.size()));
  const auto playback = ParsePlayback(parts.options);
  if (const auto* const failure = FailureOf(playback)) {
    return std::make_unique<RefusedSource>(failure->code, "'" + id + "': " + failure->text);
  }
  const Playback& wanted = ValueOf(playback);
  if (auto raw_video = MakeY4mSource(parts.address, wanted)) return raw_video;
  return MakeFileSource(parts.address, wanted);
}

std::unique_ptr<FrameSource> MakeV4l2(const std::string& id) {
  return std::make_unique<V4l2Camera>(id, MakeV4l2Io());
}

constexpr std::array kKinds{
    SourceKind{"test:", "test:", "a moving test picture", kTestCameraOptions, nullptr, &MakeTest},
    SourceKind{kFilePrefix, "file:PATH", "a video file or a named pipe", kPlaybackOptions, nullptr,
               &MakeFile},
    SourceKind{"/dev/video", "/dev/videoN", "a camera", {}, &IsV4l2Id, &MakeV4l2},
    SourceKind{kScreenPrefix,
               "screen:NAME",
               "a monitor; the whole desktop without a name",
               {},
               nullptr,
               &MakeScreenSource,
               SourceOperation::kDesktop},
    SourceKind{kWindowPrefix,
               "window:TITLE",
               "a window by its title, or by its number",
               {},
               nullptr,
               &MakeScreenSource,
               SourceOperation::kDesktop},
};

}  // namespace

std::span<const SourceKind> SourceKinds() { return kKinds; }

const SourceKind* FindSourceKind(std::string_view id) {
  const auto found = std::find_if(kKinds.begin(), kKinds.end(),
                                  [id](const SourceKind& kind) { return kind.Has(id); });
  return found == kKinds.end() ? nullptr : &*found;
}

std::string SourceForms() {
  std::string forms;
  for (const SourceKind& kind : kKinds) {
    if (&kind != kKinds.begin()) forms += &kind == &kKinds.back() ? " or " : ", ";
    forms += kind.form;
  }
  return forms;
}

std::unique_ptr<FrameSource> MakeFrameSource(const std::string& id) {
  const SourceKind* const kind = FindSourceKind(id);
  if (kind != nullptr) return kind->make(id);
  return std::make_unique<RefusedSource>(CameraError::kNoSuchCamera,
                                         "no camera is called '" + id + "': use " + SourceForms());
}

std::string FileSourceId(std::string_view path) {
  return std::string(kFilePrefix) + SourceAddressOf(path);
}

std::optional<PlayedFileId> ParseFileSourceId(std::string_view id) {
  if (!id.starts_with(kFilePrefix)) return std::nullopt;
  SourceId parts = ParseSourceId(id.substr(kFilePrefix.size()));
  const auto playback = ParsePlayback(parts.options);
  const auto* const wanted = std::get_if<Playback>(&playback);
  return PlayedFileId{std::move(parts.address), wanted == nullptr ? Playback() : *wanted};
}

std::vector<video::VideoDeviceInfo> ListDevices() { return ListV4l2Devices("/dev", MakeV4l2Io); }

CameraServiceParts DefaultCameraServiceParts() {
  return {.make_source = MakeFrameSource, .list_devices = ListDevices, .device_directory = "/dev"};
}

}  // namespace movra::media
