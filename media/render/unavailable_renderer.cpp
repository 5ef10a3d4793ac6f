#include "media/render/unavailable_renderer.h"

#include <utility>

#include "core/dispatch_queue.h"
#include "logging/log_message.h"
#include "logging/log_stream.h"

namespace movra::media {

UnavailableRenderer::UnavailableRenderer(const video::VideoContext& context,
                                         std::weak_ptr<Client> client)
    : context_(context), client_(std::move(client)) {}

// Posted, so that the start has returned before its answer comes.
void UnavailableRenderer::Start() {
  constexpr int kWarning = movra_logging::kLogLevelWarning;
  if (!is_reported_ && movra_logging::ShouldCreateLogMessage(kWarning)) {
    LogStream("media/render/unavailable_renderer", __LINE__, __func__, kWarning, nullptr)
        << LogTraceId(context_.trace()) << LogTag(context_.log_tag()) << " "
        << "Rendering is not available yet";
  }
  is_reported_ = true;
  core::GetMainQueue()->Post(
      movra_base::BindOnce(&Client::OnRenderError, client_, video::VideoRenderError::kNoDisplay));
}

void UnavailableRenderer::Snapshot(
    movra_base::OnceCallback<void(std::shared_ptr<video::ObjcWrapper<NSImage>>)> on_done) {
  std::move(on_done).Run(nullptr);
}

}  // namespace movra::media
