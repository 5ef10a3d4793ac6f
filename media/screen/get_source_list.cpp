#include <vector>

#include "logging/log_message.h"
#include "logging/log_stream.h"
#include "media/screen/source_list.h"
#include "media/screen/x11_connection.h"
#include "video/screen_sharing.h"

namespace movra::video {

// A connection of its own for each list, so that nothing is kept where nobody shares a screen.
std::vector<ScreenSourceInfo> IScreenSharing::GetSourceList(const Size& thumbnail,
                                                            const Size& icon) {
  const auto connection = media::X11Connection::Open();
  if (const auto* const failure = media::FailureOf(connection)) {
    constexpr int kInfo = movra_logging::kLogLevelInfo;
    if (movra_logging::ShouldCreateLogMessage(kInfo)) {
      LogStream("media/screen/get_source_list", __LINE__, __func__, kInfo, nullptr)
          << "There is no screen to share: " << failure->text;
    }
    return {};
  }
  return media::ListSources(*media::ValueOf(connection), thumbnail, icon);
}

}  // namespace movra::video
