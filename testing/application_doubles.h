// What the application brings: the producer's client, tracks, listeners and writers.

#ifndef MOVRA_TESTING_APPLICATION_DOUBLES_H_
#define MOVRA_TESTING_APPLICATION_DOUBLES_H_

#include <cstdint>
#include <functional>

#include "testing/double.h"
#include "video/pixel_frame_track.h"
#include "video/producer/video_producer2.h"
#include "video/video_frame_track.h"
#include "video/video_interceptor_listener.h"

namespace movra::testing {

// Tells of every event of a producer.
class ClientDouble : public video::IVideoProducer2::Client, public Double {
 public:
  using Double::Double;

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
};

// A track end that the application receives frames on.
class FrameWriterDouble : public video::IPixelFrameTrackWriter, public Double {
 public:
  using Double::Double;

  video::TrackWriteResult Write(video::PixelFrame frame) override;
  void WriteEnd(const video::StreamEnd& end) override;
};

// A track end that the application feeds frames into; there are none.
class FrameReaderDouble : public video::IPixelFrameTrackReader, public Double {
 public:
  using Double::Double;

  std::uint32_t capture_stat = 0;  // What GetCaptureStat answers.

  [[nodiscard]] std::uint32_t GetCaptureStat() override;
  [[nodiscard]] video::TrackItem Read() override;
  void SetReadableCallback(std::function<void()> callback) override;
};

// Passes frames on as they are.
class ListenerDouble : public video::VideoInterceptorListener, public Double {
 public:
  using Double::Double;

  [[nodiscard]] video::PixelFrame OnInterceptFrame(video::InterceptPosition position,
                                                   video::PixelFrame frame) override;
};

// Where encoded frames go.
class EncodedWriterDouble : public video::IVideoFrameTrackWriter, public Double {
 public:
  using Double::Double;

  void Write(const video::EncodedFrame& frame) override;
  void WriteEnd(const video::StreamEnd& end) override;
};

}  // namespace movra::testing

#endif  // MOVRA_TESTING_APPLICATION_DOUBLES_H_
