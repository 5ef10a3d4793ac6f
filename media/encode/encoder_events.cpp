#include "media/encode/encoder_events.h"

#include <utility>

#include "base/once_callback.h"
#include "base/value.h"
#include "core/dispatch_queue.h"

namespace movra::media {

EncoderEvents::EncoderEvents(video::VideoStreamType type, std::weak_ptr<Client> client)
    : type_(type), client_(std::move(client)) {}

void EncoderEvents::PropertyChanged(const video::EncoderProperty& from,
                                    const video::EncoderProperty& to) {
  Post([type = type_, from, to](Client& client) {
    client.OnEncoderPropertyChanged(type, from, to);
  });
}

void EncoderEvents::Failed(video::VideoEncoderError error, const std::string& text) {
  Post([type = type_, error, text](Client& client) {
    client.OnEncoderError(type, error, movra_base::Value(text));
  });
}

void EncoderEvents::Post(std::function<void(Client&)> event) {
  core::GetMainQueue()->Post(
      movra_base::BindOnce([self = shared_from_this(), event = std::move(event)]() {
        if (self->closed_) return;
        if (const auto client = self->client_.lock()) event(*client);
      }));
}

}  // namespace movra::media
