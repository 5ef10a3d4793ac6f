#include "media/text/warning.h"

#include "logging/log_message.h"
#include "logging/log_stream.h"

namespace movra::media {

void Warn(const video::VideoContext& context, const char* file, std::string_view text,
          const char* function, int line) {
  constexpr int kWarning = movra_logging::kLogLevelWarning;
  if (!movra_logging::ShouldCreateLogMessage(kWarning)) return;
  LogStream(file, line, function, kWarning, nullptr)
      << LogTraceId(context.trace()) << LogTag(context.log_tag()) << " " << text;
}

}  // namespace movra::media
