// The one event of the producer that the program waits for.

#ifndef MOVRA_APP_ENCODER_ERROR_CLIENT_H_
#define MOVRA_APP_ENCODER_ERROR_CLIENT_H_

#include <functional>
#include <string>
#include <utility>

#include "video/producer/client_base.h"

namespace movra::app {

// Hands on the errors of encoders and leaves all other events alone. Main queue.
class EncoderErrorClient : public video::ClientBase {
 public:
  // `detail` is a text for people, or empty.
  using Handler = std::function<void(video::VideoStreamType type, video::VideoEncoderError error,
                                     const std::string& detail)>;

  explicit EncoderErrorClient(Handler handler) : handler_(std::move(handler)) {}

  void OnEncoderError(video::IVideoProducer2*, video::VideoStreamType type,
                      video::VideoEncoderError error, const movra_base::Value& detail) override;

 private:
  const Handler handler_;
};

}  // namespace movra::app

#endif  // MOVRA_APP_ENCODER_ERROR_CLIENT_H_
