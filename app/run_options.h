// What `movra-producer run` and `movra-producer devices` were asked for.

#ifndef MOVRA_APP_RUN_OPTIONS_H_
#define MOVRA_APP_RUN_OPTIONS_H_

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "app/frame_rate.h"
#include "app/stream_spec.h"
#include "logging/log_sink.h"
#include "media/sources/source_kinds.h"
#include "video/size.h"
#include "video/video_types.h"

namespace movra::app {

// A field that is absent was not typed and follows from the source.
struct RunOptions {
  std::string source = "test:";  // An id (media/sources/source_kinds.h).
  std::optional<video::ProducerMode> mode;
  std::optional<video::Size> size;  // With mode kOwnSize only.
  std::optional<FrameRate> frame_rate;
  StreamSpec big;
  StreamSpec small;
  std::optional<std::chrono::nanoseconds> duration;
  std::optional<std::string> out_directory;
  std::optional<std::int32_t> encoder_threads;  // For each stream; 0: as many as the library likes.
  bool contact_sheet = true;
  bool force = false;
  bool quiet = false;
  int log_level = movra_logging::kLogLevelError;
  bool log_filter = false;
  std::optional<std::string> stats;   // "-" is standard output.
  std::optional<std::string> events;  // The same.
  std::optional<std::string> script;

  // The video file or pipe that is the source; absent for others.
  [[nodiscard]] std::optional<media::PlayedFileId> source_file() const {
    return media::ParseFileSourceId(source);
  }
};

struct DevicesOptions {
  bool json = false;
};

}  // namespace movra::app

#endif  // MOVRA_APP_RUN_OPTIONS_H_
