#include "media/file/playback.h"

#include <optional>

#include "media/text/time_text.h"

namespace movra::media {
namespace {

std::string WhatThereIs() {
  std::string forms;
  for (const SourceOptionKind& kind : kPlaybackOptions) {
    forms += (forms.empty() ? "" : ", ") + kind.Form();
  }
  return forms;
}

// Whether the option is known and well formed.
bool Take(const SourceOption& option, Playback& playback) {
  if (option.name == "start" && option.value) {
    const auto time = ParseTime(*option.value);
    if (time) playback.start = *time;
    return time && *time <= kLongestTime;
  }
  if (option.value) return false;
  if (option.name == "loop") return playback.loop = true;
  if (option.name == "realtime") return playback.realtime = true;
  return false;
}

}  // namespace

Result<Playback, CameraError> ParsePlayback(const std::vector<SourceOption>& options) {
  Playback playback;
  for (const SourceOption& option : options) {
    if (Take(option, playback)) continue;
    return Failure<CameraError>{CameraError::kBadOption,
                                "a file is not played with '" + option.name +
                                    (option.value ? "=" + *option.value : std::string()) +
                                    "'; behind a ? stand, joined by "
                                    "&, some of " +
                                    WhatThereIs() + ", and a ? in a name is written %3F"};
  }
  return playback;
}

}  // namespace movra::media
