#include "media/render/unavailable_renderer.h"

#include <utility>

#include "logging/log_message.h"
#include "logging/log_stream.h"

namespace movra::media {

UnavailableRenderer::UnavailableRenderer(const video::VideoContext& context,
                                         std::weak_ptr<Client> client)
    : context_(context),
      checker_("a renderer", context),
      relay_("The client of a renderer", std::move(client)) {}

// Posted, so that the start has returned before its answer comes.
void UnavailableRenderer::Start() {
  checker_.Check();
  constexpr int kWarning = movra_logging::kLogLevelWarning;
  if (!is_reported_ && movra_logging::ShouldCreateLogMessage(kWarning)) {
    LogStream("media/render/unavailable_renderer", __LINE__, __func__, kWarning, nullptr)
        << LogTraceId(context_.trace()) << LogTag(context_.log_tag()) << " "
        << "Rendering is not available yet";
  }
  is_reported_ = true;
  relay_.Open().Post(
      [](Client& client) { client.OnRenderError(video::VideoRenderError::kNoDisplay); });
}

void UnavailableRenderer::Stop(bool /*keep_last_frame*/) {
  checker_.Check();
  relay_.Close();
}

void UnavailableRenderer::Snapshot(
    movra_base::OnceCallback<void(std::shared_ptr<video::ObjcWrapper<NSImage>>)> on_done) {
  checker_.Check();
  std::move(on_done).Run(nullptr);
}

video::RendererStats UnavailableRenderer::GetStats() {
  checker_.Check();
  return {};
}

}  // namespace movra::media
