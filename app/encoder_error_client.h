// The one event of the producer that the program waits for.

#ifndef MOVRA_APP_ENCODER_ERROR_CLIENT_H_
#define MOVRA_APP_ENCODER_ERROR_CLIENT_H_

#include <functional>
#include <string>
#include <utility>

#include "video/producer/video_producer2.h"

namespace movra::app {

// Hands on the errors of encoders and leaves all other events alone. Main queue.
class EncoderErrorClient : public video::IVideoProducer2::Client {
 public:
  // `detail` is a text for people, or empty.
  using Handler = std::function<void(video::VideoStreamType type, video::VideoEncoderError error,
                                     const std::string& detail)>;

  explicit EncoderErrorClient(Handler handler) : handler_(std::move(handler)) {}

  void OnEncoderError(video::IVideoProducer2*, video::VideoStreamType type,
                      video::VideoEncoderError error, const movra_base::Value& detail) override;

  void OnEncoderPropertyChanged(video::IVideoProducer2*, video::VideoStreamType,
                                const video::EncoderProperty&, const video::EncoderProperty&,
                                const EventMsg&) override {}
  void OnEncodeAbilityChanged(video::IVideoProducer2*, video::EncodeAbility) override {}
  void OnRenderFirstFrame(video::IVideoProducer2*, unsigned int, unsigned int,
                          const EventMsg&) override {}
  void OnRenderError(video::IVideoProducer2*, video::VideoRenderError) override {}
  void OnScreenSharingError(video::IVideoProducer2*, long,
                            video::VideoScreenSharingError) override {}
  void OnScreenSharingStarted(video::IVideoProducer2*, long) override {}
  void OnScreenSharingStopped(video::IVideoProducer2*, long,
                              video::VideoScreenSharingStoppedReason) override {}
  void OnScreenSharingPaused(video::IVideoProducer2*, long,
                             video::VideoScreenSharingPausedReason) override {}
  void OnScreenSharingResumed(video::IVideoProducer2*, long,
                              video::VideoScreenSharingResumedReason) override {}
  void OnScreenSharingFirstFrame(video::IVideoProducer2*, long, long long) override {}
  void OnWindowCovered(video::IVideoProducer2*, long) override {}
  void OnCapturerModeChange(video::IVideoProducer2*, long, video::CapturerMode,
                            video::CapturerMode) override {}

 private:
  const Handler handler_;
};

}  // namespace movra::app

#endif  // MOVRA_APP_ENCODER_ERROR_CLIENT_H_
