#include "media/encode/refused_change.h"

#include <cstdint>

#include "logging/log_message.h"
#include "logging/log_stream.h"
#include "video/to_string.h"

namespace movra::media {
namespace {

// The first that is too low.
class Values {
 public:
  Values& AtLeast(std::int32_t lowest, const char* name,
                  const movra_base::Optional<std::int32_t>& value) {
    if (text_.empty() && value.has_value() && *value < lowest) {
      text_ = std::string(name) + " must be at least " + std::to_string(lowest) + ", not " +
              std::to_string(*value);
    }
    return *this;
  }

  [[nodiscard]] const std::string& text() const { return text_; }

 private:
  std::string text_;
};

}  // namespace

std::string WhySenseless(const video::EncodeParams& change) {
  if (change.frame_rate_numerator.has_value() != change.frame_rate_denominator.has_value()) {
    return "frame_rate_numerator and frame_rate_denominator belong together";
  }
  return Values()
      .AtLeast(0, "width", change.width)
      .AtLeast(0, "height", change.height)
      .AtLeast(1, "frame_rate", change.frame_rate)
      .AtLeast(1, "frame_rate_numerator", change.frame_rate_numerator)
      .AtLeast(1, "frame_rate_denominator", change.frame_rate_denominator)
      .AtLeast(1, "bitrate_bps", change.bitrate_bps)
      .AtLeast(1, "max_bitrate_bps", change.max_bitrate_bps)
      .AtLeast(1, "key_frame_interval_ms", change.key_frame_interval_ms)
      .AtLeast(0, "threads", change.threads)
      .text();
}

void TellRefused(const video::VideoContext& context, video::VideoStreamType type,
                 const EncoderEvents& events, const std::string& why) {
  if (movra_logging::ShouldCreateLogMessage(movra_logging::kLogLevelWarning)) {
    LogStream("../../media/encode/refused_change", __LINE__, __func__,
              movra_logging::kLogLevelWarning, nullptr)
        << LogTraceId(context.trace()) << LogTag(context.log_tag()) << " "
        << video::VideoStreamTypeToString(type)
        << " encoder refuses a change and goes on as it was: " << why;
  }
  events.Failed(video::VideoEncoderError::kReconfigureFailed, why);
}

}  // namespace movra::media
