#include <chrono>
#include <sstream>
#include <variant>
#include <vector>

#include "app/cli.h"
#include "app/color_text.h"
#include "app/duration_text.h"
#include "app/frame_listeners.h"
#include "app/picture_text.h"
#include "app/stream_spec.h"
#include "fuzzing/fuzz_targets.h"
#include "media/camera/test_camera.h"
#include "media/camera/v4l2_devices.h"
#include "media/capture/source_id.h"
#include "media/file/playback.h"
#include "media/text/time_text.h"
#include "video/platform.h"

namespace movra::fuzzing {
namespace {

// What cannot be read is refused in a line for people.
template <class T>
void RequireTold(const app::Result<T>& result) {
  const app::Failure* const failure = app::FailureOf(result);
  if (failure == nullptr) return;
  Require(failure->code != app::ExitCode::kSuccess, "a failure has a code");
  Require(failure->code != app::ExitCode::kInternal, "what is typed is no error of the program");
  Require(!failure->text.empty(), "a failure has a text");
}

}  // namespace

void FuzzSpecText(Bytes bytes) {
  const std::string text = TextOf(bytes);
  const auto spec = app::ParseStreamSpec(text);
  RequireTold(spec);
  RequireTold(app::ParseSize(text));
  RequireTold(app::ParseFrameRate(text));
  RequireTold(app::ParseBitrate(text));
  if (app::FailureOf(spec) != nullptr) return;
  const app::StreamSpec& read = app::ValueOf(spec);
  Require(!read.size || (read.size->width >= app::kLeastSide && read.size->width % 2 == 0),
          "a size can be encoded");
  Require(!read.bitrate_bps || *read.bitrate_bps >= app::kLeastBitrateBps, "a bit rate is enough");
  Require(!read.target || !read.target->path.empty(), "a file has a name");
}

void FuzzTimeText(Bytes bytes) {
  const auto time = app::ParseDuration(TextOf(bytes));
  RequireTold(time);
  if (app::FailureOf(time) != nullptr) return;
  Require(app::ValueOf(time).count() > 0, "a time is more than nothing");
  Require(app::ValueOf(time) <= std::chrono::hours(1000), "a time has an end");
  Require(!app::ClockText(app::ValueOf(time)).empty(), "a time can be shown");
  Require(media::ParseTime(media::TimeText(app::ValueOf(time))) == app::ValueOf(time),
          "a time can be written");
}

// What an id names is not opened here.
void FuzzIdText(Bytes bytes) {
  const std::string id = TextOf(bytes);
  static_cast<void>(media::IsV4l2Id(id));
  static_cast<void>(video::IsVirtualCameraId(id));
  const auto options = media::ParseTestCameraId("test:" + id);
  const auto* const error = std::get_if<std::string>(&options);
  Require(error == nullptr || !error->empty(), "an error has a text");
  if (error == nullptr) {
    media::TestCamera camera("test:" + id);
    const video::CameraInfo info = camera.Describe();
    Require(info.error_code == 0 && info.natural_size.width > 0, "a test camera has a size");
  }
  const media::SourceId written = media::ParseSourceId(media::SourceAddressOf(id));
  Require(written == media::SourceId{id, {}}, "any name can be written as an address");
  const auto playback = media::ParsePlayback(media::ParseSourceId(id).options);
  Require(media::FailureOf(playback) != nullptr || media::ValueOf(playback).start.count() >= 0,
          "a start is not before the beginning");
}

void FuzzObjectText(Bytes bytes) {
  const std::string text = TextOf(bytes);
  RequireTold(app::MakeFrameListener(text));
  const auto color = app::ParseColor(text);
  Require(!color || color->rgb <= 0xFFFFFF, "a colour has three parts");
}

void FuzzCommandLine(Bytes bytes) {
  std::istringstream lines(TextOf(bytes));
  std::vector<std::string> words;
  for (std::string word; std::getline(lines, word);) words.push_back(word);
  RequireTold(app::ParseCommandLine(words));
}

}  // namespace movra::fuzzing
