// The events of a producer as data.

#ifndef MOVRA_APP_EVENT_RECORDER_H_
#define MOVRA_APP_EVENT_RECORDER_H_

#include <functional>
#include <utility>

#include "app/operation_argument.h"
#include "video/producer/video_producer2.h"

namespace movra::app {

// Hands each event on as an object: {"event": "encoder_error", "type": "big", ...}. The name is
// that of the client's operation in snake case without the "on", the entries behind it are its
// arguments without the producer. Main queue.
class EventRecorder : public video::IVideoProducer2::Client {
 public:
  using Handler = std::function<void(const Json& event)>;

  explicit EventRecorder(Handler handler) : handler_(std::move(handler)) {}

  // IVideoProducer2::Client
  void OnEncoderPropertyChanged(video::IVideoProducer2* producer, video::VideoStreamType type,
                                const video::EncoderProperty& from,
                                const video::EncoderProperty& to, const EventMsg& message) override;
  void OnEncodeAbilityChanged(video::IVideoProducer2* producer,
                              video::EncodeAbility ability) override;
  void OnEncoderError(video::IVideoProducer2* producer, video::VideoStreamType type,
                      video::VideoEncoderError error, const movra_base::Value& detail) override;
  void OnRenderFirstFrame(video::IVideoProducer2* producer, unsigned int width, unsigned int height,
                          const EventMsg& message) override;
  void OnRenderError(video::IVideoProducer2* producer, video::VideoRenderError error) override;
  void OnScreenSharingError(video::IVideoProducer2* producer, long source,
                            video::VideoScreenSharingError error) override;
  void OnScreenSharingStarted(video::IVideoProducer2* producer, long source) override;
  void OnScreenSharingStopped(video::IVideoProducer2* producer, long source,
                              video::VideoScreenSharingStoppedReason reason) override;
  void OnScreenSharingPaused(video::IVideoProducer2* producer, long source,
                             video::VideoScreenSharingPausedReason reason) override;
  void OnScreenSharingResumed(video::IVideoProducer2* producer, long source,
                              video::VideoScreenSharingResumedReason reason) override;
  void OnScreenSharingFirstFrame(video::IVideoProducer2* producer, long source,
                                 long long elapsed_ms) override;
  void OnWindowCovered(video::IVideoProducer2* producer, long source) override;
  void OnCapturerModeChange(video::IVideoProducer2* producer, long source, video::CapturerMode from,
                            video::CapturerMode to) override;

 private:
  const Handler handler_;
};

}  // namespace movra::app

#endif  // MOVRA_APP_EVENT_RECORDER_H_
