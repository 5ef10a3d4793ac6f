#include "app/event_recorder.h"

#include <cstdint>
#include <string>

#include "app/operation_answer.h"

namespace movra::app {
namespace {

using Producer = video::IVideoProducer2;

Json ToData(const video::EncoderProperty& property) {
  const auto size = static_cast<std::uint64_t>(property.size);
  return {{"codec", app::ToData(static_cast<video::VideoCodec>(property.codec))},
          {"width", size >> 32},
          {"height", size & 0xFFFFFFFFU},
          {"implementation", property.implementation}};
}

Json ToData(const movra_base::Value& value) {
  if (const auto* truth = value.GetIf<bool>()) return *truth;
  if (const auto* integer = value.GetIf<std::int64_t>()) return *integer;
  if (const auto* number = value.GetIf<double>()) return *number;
  if (const auto* text = value.GetIf<std::string>()) return *text;
  return {};
}

}  // namespace

void EventRecorder::OnEncoderPropertyChanged(Producer* /*producer*/, video::VideoStreamType type,
                                             const video::EncoderProperty& from,
                                             const video::EncoderProperty& to,
                                             const EventMsg& message) {
  handler_({{"event", "encoder_property_changed"},
            {"type", app::ToData(type)},
            {"from", ToData(from)},
            {"to", ToData(to)},
            {"message", message.text}});
}

void EventRecorder::OnEncodeAbilityChanged(Producer* /*producer*/, video::EncodeAbility ability) {
  handler_({{"event", "encode_ability_changed"}, {"ability", app::ToData(ability)}});
}

void EventRecorder::OnEncoderError(Producer* /*producer*/, video::VideoStreamType type,
                                   video::VideoEncoderError error,
                                   const movra_base::Value& detail) {
  handler_({{"event", "encoder_error"},
            {"type", app::ToData(type)},
            {"error", app::ToData(error)},
            {"detail", ToData(detail)}});
}

void EventRecorder::OnRenderFirstFrame(Producer* /*producer*/, unsigned int width,
                                       unsigned int height, const EventMsg& message) {
  handler_({{"event", "render_first_frame"},
            {"width", width},
            {"height", height},
            {"message", message.text}});
}

void EventRecorder::OnRenderError(Producer* /*producer*/, video::VideoRenderError error) {
  handler_({{"event", "render_error"}, {"error", app::ToData(error)}});
}

void EventRecorder::OnScreenSharingError(Producer* /*producer*/, long source,
                                         video::VideoScreenSharingError error) {
  handler_({{"event", "screen_sharing_error"}, {"source", source}, {"error", app::ToData(error)}});
}

void EventRecorder::OnScreenSharingStarted(Producer* /*producer*/, long source) {
  handler_({{"event", "screen_sharing_started"}, {"source", source}});
}

void EventRecorder::OnScreenSharingStopped(Producer* /*producer*/, long source,
                                           video::VideoScreenSharingStoppedReason reason) {
  handler_(
      {{"event", "screen_sharing_stopped"}, {"source", source}, {"reason", app::ToData(reason)}});
}

void EventRecorder::OnScreenSharingPaused(Producer* /*producer*/, long source,
                                          video::VideoScreenSharingPausedReason reason) {
  handler_(
      {{"event", "screen_sharing_paused"}, {"source", source}, {"reason", app::ToData(reason)}});
}

void EventRecorder::OnScreenSharingResumed(Producer* /*producer*/, long source,
                                           video::VideoScreenSharingResumedReason reason) {
  handler_(
      {{"event", "screen_sharing_resumed"}, {"source", source}, {"reason", app::ToData(reason)}});
}

void EventRecorder::OnScreenSharingFirstFrame(Producer* /*producer*/, long source,
                                              long long elapsed_ms) {
  handler_(
      {{"event", "screen_sharing_first_frame"}, {"source", source}, {"elapsed_ms", elapsed_ms}});
}

void EventRecorder::OnWindowCovered(Producer* /*producer*/, long source) {
  handler_({{"event", "window_covered"}, {"source", source}});
}

void EventRecorder::OnCapturerModeChange(Producer* /*producer*/, long source,
                                         video::CapturerMode from, video::CapturerMode to) {
  handler_({{"event", "capturer_mode_change"},
            {"source", source},
            {"from", app::ToData(from)},
            {"to", app::ToData(to)}});
}

}  // namespace movra::app
