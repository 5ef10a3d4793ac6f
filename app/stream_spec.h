// What a person asks of one stream, as in `--big 1280x720@30,1500k,talk.mp4`.

#ifndef MOVRA_APP_STREAM_SPEC_H_
#define MOVRA_APP_STREAM_SPEC_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "app/frame_rate.h"
#include "app/result.h"
#include "media/output/container_format.h"
#include "media/output/sink_kinds.h"
#include "video/size.h"
#include "video/video_types.h"

namespace movra::app {

// Where a stream goes and in what container.
struct StreamTarget {
  std::string path;  // "-" is standard output; of another scheme than files' its address.
  media::ContainerFormat format = media::ContainerFormat::kMp4;
  std::string scheme{media::kFileScheme};

  [[nodiscard]] bool is_file() const { return scheme == media::kFileScheme; }
  [[nodiscard]] bool is_stdout() const { return is_file() && path == "-"; }

  friend bool operator==(const StreamTarget&, const StreamTarget&) = default;
};

// What is absent is chosen by the output plan.
struct StreamSpec {
  bool off = false;  // The stream is not made.
  std::optional<video::Size> size;
  std::optional<FrameRate> frame_rate;
  std::optional<std::int32_t> bitrate_bps;
  std::optional<StreamTarget> target;
  std::vector<StreamTarget> also{};  // Further ones, which no SPEC says.

  friend bool operator==(const StreamSpec&, const StreamSpec&) = default;
};

// Reads [WxH][@RATE][,BITRATE][,FILE], or "off". At least one piece, in this order; FILE comes last
// and may itself hold commas. The comma of a piece that comes first may be there or not. "-" is
// standard output as MPEG-TS; "-.mp4", "-.mkv", "-.ts" and
// "-.h264" are standard output in that container.
[[nodiscard]] Result<StreamSpec> ParseStreamSpec(std::string_view text);

// A further target of a stream.
struct FurtherTarget {
  video::VideoStreamType stream = video::VideoStreamType::kBig;
  StreamTarget target;

  friend bool operator==(const FurtherTarget&, const FurtherTarget&) = default;
};

// Reads STREAM=TARGET, as in big=talk.ts or small=-; TARGET is what a SPEC calls FILE.
[[nodiscard]] Result<FurtherTarget> ParseFurtherTarget(std::string_view text);

}  // namespace movra::app

#endif  // MOVRA_APP_STREAM_SPEC_H_
