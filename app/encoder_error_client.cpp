#include "app/encoder_error_client.h"

namespace movra::app {

void EncoderErrorClient::OnEncoderError(video::IVideoProducer2*, video::VideoStreamType type,
                                        video::VideoEncoderError error,
                                        const movra_base::Value& detail) {
  handler_(type, error, detail.is_null() ? "" : detail.ToString());
}

}  // namespace movra::app
