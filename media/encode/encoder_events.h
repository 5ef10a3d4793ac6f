#ifndef MOVRA_MEDIA_ENCODE_ENCODER_EVENTS_H_
#define MOVRA_MEDIA_ENCODE_ENCODER_EVENTS_H_

#include <atomic>
#include <functional>
#include <memory>
#include <string>

#include "video/encode_params.h"
#include "video/video_encoder_controller.h"
#include "video/video_types.h"

namespace movra::media {

// Carries the events of one start of an encoder to its client on the main queue. Events that are
// still on their way when the start is over are dropped there. Posting never waits.
class EncoderEvents : public std::enable_shared_from_this<EncoderEvents> {
 public:
  using Client = video::IVideoEncoderController::Client;

  EncoderEvents(video::VideoStreamType type, std::weak_ptr<Client> client);

  // Any thread.
  void PropertyChanged(const video::EncoderProperty& from, const video::EncoderProperty& to);
  void Failed(video::VideoEncoderError error, const std::string& text);

  // Main queue. No event is delivered from now on.
  void Close() { closed_ = true; }

 private:
  void Post(std::function<void(Client&)> event);

  const video::VideoStreamType type_;
  const std::weak_ptr<Client> client_;
  // Written and read on the main queue; atomic for a controller that is released elsewhere.
  std::atomic<bool> closed_ = false;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_ENCODE_ENCODER_EVENTS_H_
