#include "testing/application_doubles.h"

namespace movra::testing {

void ClientDouble::OnEncoderPropertyChanged(video::IVideoProducer2* producer,
                                            video::VideoStreamType type,
                                            const video::EncoderProperty& from,
                                            const video::EncoderProperty& to,
                                            const EventMsg& message) {
  Called("OnEncoderPropertyChanged", producer, type, from, to, message);
}

void ClientDouble::OnEncodeAbilityChanged(video::IVideoProducer2* producer,
                                          video::EncodeAbility ability) {
  Called("OnEncodeAbilityChanged", producer, ability);
}

void ClientDouble::OnEncoderError(video::IVideoProducer2* producer, video::VideoStreamType type,
                                  video::VideoEncoderError error, const movra_base::Value& detail) {
  Called("OnEncoderError", producer, type, error, detail);
}

void ClientDouble::OnRenderFirstFrame(video::IVideoProducer2* producer, unsigned int width,
                                      unsigned int height, const EventMsg& message) {
  Called("OnRenderFirstFrame", producer, width, height, message);
}

void ClientDouble::OnRenderError(video::IVideoProducer2* producer, video::VideoRenderError error) {
  Called("OnRenderError", producer, error);
}

void ClientDouble::OnScreenSharingError(video::IVideoProducer2* producer, long source,
                                        video::VideoScreenSharingError error) {
  Called("OnScreenSharingError", producer, source, error);
}

void ClientDouble::OnScreenSharingStarted(video::IVideoProducer2* producer, long source) {
  Called("OnScreenSharingStarted", producer, source);
}

void ClientDouble::OnScreenSharingStopped(video::IVideoProducer2* producer, long source,
                                          video::VideoScreenSharingStoppedReason reason) {
  Called("OnScreenSharingStopped", producer, source, reason);
}

void ClientDouble::OnScreenSharingPaused(video::IVideoProducer2* producer, long source,
                                         video::VideoScreenSharingPausedReason reason) {
  Called("OnScreenSharingPaused", producer, source, reason);
}

void ClientDouble::OnScreenSharingResumed(video::IVideoProducer2* producer, long source,
                                          video::VideoScreenSharingResumedReason reason) {
  Called("OnScreenSharingResumed", producer, source, reason);
}

void ClientDouble::OnScreenSharingFirstFrame(video::IVideoProducer2* producer, long source,
                                             long long elapsed_ms) {
  Called("OnScreenSharingFirstFrame", producer, source, elapsed_ms);
}

void ClientDouble::OnWindowCovered(video::IVideoProducer2* producer, long source) {
  Called("OnWindowCovered", producer, source);
}

void ClientDouble::OnCapturerModeChange(video::IVideoProducer2* producer, long source,
                                        video::CapturerMode from, video::CapturerMode to) {
  Called("OnCapturerModeChange", producer, source, from, to);
}

video::TrackWriteResult FrameWriterDouble::Write(video::PixelFrame frame) {
  Called("Write", frame);
  return video::TrackWriteResult::kAccepted;
}

void FrameWriterDouble::WriteEnd(const video::StreamEnd& end) { Called("WriteEnd", end); }

std::uint32_t FrameReaderDouble::GetCaptureStat() {
  Called("GetCaptureStat");
  return capture_stat;
}

video::TrackItem FrameReaderDouble::Read() {
  Called("Read");
  return {};
}

void FrameReaderDouble::SetReadableCallback(std::function<void()> callback) {
  Called("SetReadableCallback", callback != nullptr);
}

video::PixelFrame ListenerDouble::OnInterceptFrame(video::InterceptPosition position,
                                                   video::PixelFrame frame) {
  Called("OnInterceptFrame", position, frame);
  return frame;
}

void EncodedWriterDouble::Write(const video::EncodedFrame& frame) {
  Called("Write", frame.stream_type, frame.sequence);
}

void EncodedWriterDouble::WriteEnd(const video::StreamEnd& end) { Called("WriteEnd", end); }

}  // namespace movra::testing
