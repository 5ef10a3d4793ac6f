#include "media/effects/unavailable_stage.h"

#include <utility>

#include "logging/log_message.h"
#include "logging/log_stream.h"

namespace movra::media {

UnavailableStage::UnavailableStage(video::VideoContext context, const char* effect,
                                   IsWanted is_wanted)
    : context_(std::move(context)), effect_(effect), is_wanted_(is_wanted) {}

std::shared_ptr<const IPreparedStage> UnavailableStage::Prepare(const StageSettings& settings) {
  constexpr int kWarning = movra_logging::kLogLevelWarning;
  if (is_reported_ || !is_wanted_(settings)) return nullptr;
  is_reported_ = true;
  if (movra_logging::ShouldCreateLogMessage(kWarning)) {
    LogStream("media/effects/unavailable_stage", __LINE__, __func__, kWarning, nullptr)
        << LogTraceId(context_.trace()) << LogTag(context_.log_tag()) << " "
        << "Not available yet, pictures stay as they are:" << effect_;
  }
  return nullptr;
}

}  // namespace movra::media
