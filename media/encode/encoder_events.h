#ifndef MOVRA_MEDIA_ENCODE_ENCODER_EVENTS_H_
#define MOVRA_MEDIA_ENCODE_ENCODER_EVENTS_H_

#include <string>
#include <utility>

#include "media/main_queue/client_relay.h"
#include "video/encode_params.h"
#include "video/video_encoder_controller.h"
#include "video/video_types.h"

namespace movra::media {

using EncoderRelay = ClientRelay<video::IVideoEncoderController::Client>;

// What one start of an encoder tells its client, through the relay of its controller. Any thread.
class EncoderEvents {
 public:
  EncoderEvents(video::VideoStreamType type, EncoderRelay::Sender sender)
      : type_(type), sender_(std::move(sender)) {}

  void PropertyChanged(const video::EncoderProperty& from, const video::EncoderProperty& to) const;
  void Failed(video::VideoEncoderError error, const std::string& text) const;

 private:
  const video::VideoStreamType type_;
  const EncoderRelay::Sender sender_;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_ENCODE_ENCODER_EVENTS_H_
