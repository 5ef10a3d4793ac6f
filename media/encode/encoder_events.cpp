#include "media/encode/encoder_events.h"

#include "base/value.h"

namespace movra::media {

using Client = video::IVideoEncoderController::Client;

void EncoderEvents::PropertyChanged(const video::EncoderProperty& from,
                                    const video::EncoderProperty& to) const {
  sender_.Post([type = type_, from, to](Client& client) {
    client.OnEncoderPropertyChanged(type, from, to);
  });
}

void EncoderEvents::Failed(video::VideoEncoderError error, const std::string& text) const {
  sender_.Post([type = type_, error, text](Client& client) {
    client.OnEncoderError(type, error, movra_base::Value(text));
  });
}

}  // namespace movra::media
