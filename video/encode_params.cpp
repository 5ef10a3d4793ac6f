#include "video/encode_params.h"

#include "video/record_printer.h"
#include "video/to_string.h"

namespace movra::video {

std::string EncodeParams::ToString() const {
  movra_base::Optional<std::string> codec_text;
  if (codec.has_value()) codec_text = VideoCodecToString(codec.value());
  return RecordPrinter("EncodeParams")
      .Field("width", width)
      .Field("height", height)
      .Field("frame_rate", frame_rate)
      .Field("codec", codec_text)
      .Field("bitrate_bps", bitrate_bps)
      .Field("max_bitrate_bps", max_bitrate_bps)
      .Field("key_frame_interval_ms", key_frame_interval_ms)
      .Field("threads", threads)
      .Field("preset", preset)
      .Field("frame_rate_numerator", frame_rate_numerator)
      .Field("frame_rate_denominator", frame_rate_denominator)
      .Finish();
}

}  // namespace movra::video
