#include "media/screen/unavailable_screen_sharing.h"

#include "logging/log_message.h"
#include "logging/log_stream.h"

namespace movra::media {

void UnavailableScreenSharing::StartDesktopCapture(const video::DesktopScreenParams& params) {
  checker_.Check();
  ReportUnavailable(static_cast<long>(params.source_id.value_or(0)));
}

void UnavailableScreenSharing::StartMobileCapture(const video::MobileScreenParams& /*params*/) {
  checker_.Check();
  ReportUnavailable(0);
}

void UnavailableScreenSharing::Stop() {
  checker_.Check();
  relay_.Close();
}

void UnavailableScreenSharing::SetClient(std::shared_ptr<Client> client) {
  checker_.Check();
  relay_.SetClient(client);
}

std::uint32_t UnavailableScreenSharing::GetCaptureStat() {
  checker_.Check();
  return 0;
}

// Posted, so that the start has returned before its answer comes.
void UnavailableScreenSharing::ReportUnavailable(long source) {
  constexpr int kWarning = movra_logging::kLogLevelWarning;
  if (!is_reported_ && movra_logging::ShouldCreateLogMessage(kWarning)) {
    LogStream("media/screen/unavailable_screen_sharing", __LINE__, __func__, kWarning, nullptr)
        << LogTraceId(context_.trace()) << LogTag(context_.log_tag()) << " "
        << "Screen sharing is not available yet";
  }
  is_reported_ = true;
  relay_.Open().Post([source](Client& client) {
    client.OnScreenSharingError(source, video::VideoScreenSharingError::kUnavailable);
  });
}

}  // namespace movra::media
