#ifndef MOVRA_VIDEO_PRODUCER_CLIENT_BASE_H_
#define MOVRA_VIDEO_PRODUCER_CLIENT_BASE_H_

#include "video/producer/video_producer2.h"

namespace movra::video {

// A client of the producer that lets every event pass. An application derives from it and overrides
// the events that it wants:
//
//   class Client final : public video::ClientBase {
//     void OnEncoderError(video::IVideoProducer2*, video::VideoStreamType type,
//                         video::VideoEncoderError error, const movra_base::Value&) override {
//       ...
//     }
//   };
//   const auto client = std::make_shared<Client>();
//   const auto producer = std::make_shared<video::VideoProducer2Impl>(context, client, type);
//
// The producer holds its client weakly: keep it for as long as events are wanted. Events come on
// the main queue; video/producer/video_producer2.h has them all.
class ClientBase : public IVideoProducer2::Client {
 public:
  void OnEncoderPropertyChanged(IVideoProducer2* /*producer*/, VideoStreamType /*type*/,
                                const EncoderProperty& /*from*/, const EncoderProperty& /*to*/,
                                const EventMsg& /*message*/) override {}
  void OnEncodeAbilityChanged(IVideoProducer2* /*producer*/, EncodeAbility /*ability*/) override {}
  void OnEncoderError(IVideoProducer2* /*producer*/, VideoStreamType /*type*/,
                      VideoEncoderError /*error*/, const movra_base::Value& /*detail*/) override {}
  void OnRenderFirstFrame(IVideoProducer2* /*producer*/, unsigned int /*width*/,
                          unsigned int /*height*/, const EventMsg& /*message*/) override {}
  void OnRenderError(IVideoProducer2* /*producer*/, VideoRenderError /*error*/) override {}
  void OnScreenSharingError(IVideoProducer2* /*producer*/, long /*source*/,
                            VideoScreenSharingError /*error*/) override {}
  void OnScreenSharingStarted(IVideoProducer2* /*producer*/, long /*source*/) override {}
  void OnScreenSharingStopped(IVideoProducer2* /*producer*/, long /*source*/,
                              VideoScreenSharingStoppedReason /*reason*/) override {}
  void OnScreenSharingPaused(IVideoProducer2* /*producer*/, long /*source*/,
                             VideoScreenSharingPausedReason /*reason*/) override {}
  void OnScreenSharingResumed(IVideoProducer2* /*producer*/, long /*source*/,
                              VideoScreenSharingResumedReason /*reason*/) override {}
  void OnScreenSharingFirstFrame(IVideoProducer2* /*producer*/, long /*source*/,
                                 long long /*elapsed_ms*/) override {}
  void OnWindowCovered(IVideoProducer2* /*producer*/, long /*source*/) override {}
  void OnCapturerModeChange(IVideoProducer2* /*producer*/, long /*source*/, CapturerMode /*from*/,
                            CapturerMode /*to*/) override {}
};

}  // namespace movra::video

#endif  // MOVRA_VIDEO_PRODUCER_CLIENT_BASE_H_
