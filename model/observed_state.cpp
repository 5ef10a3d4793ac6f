#include "model/observed_state.h"

#include <set>

#include "core/notification_center.h"
#include "testing/describe.h"
#include "testing/encoder_double.h"
#include "testing/preprocessor_double.h"
#include "testing/renderer_double.h"
#include "testing/screen_sharing_double.h"
#include "testing/track_double.h"

namespace movra::video::model {
namespace {

using testing::Describe;
using testing::NameOf;

template <class T>
std::string OrNothing(const movra_base::Optional<T>& value) {
  return value.has_value() ? Describe(value.value()) : "-";
}

template <class T>
std::string NameOfWeak(const std::weak_ptr<T>& object) {
  return NameOf(object.lock().get());
}

// Every double of the kind that lives.
template <class T, class Look>
void ForEachAlive(const testing::Made<T>& made, Look&& look) {
  for (std::size_t i = 0; i < made.count(); ++i) {
    if (const auto object = made.Find(i)) look(*object);
  }
}

void ObserveCamera(const testing::CameraServiceDouble& camera, ObservedState& state) {
  std::string captures;
  for (const auto& capture : camera.captures()) {
    captures += Describe(capture.params) + " into " + NameOf(capture.writer.get()) + "; ";
  }
  state[camera.name() + " captures"] = captures;
  state[camera.name() + " updated"] = OrNothing(camera.updated_params());
  state[camera.name() + " callbacks"] = Describe(camera.waiting_starts() + camera.waiting_stops());
}

void ObserveScreen(const testing::ScreenSharingDouble& screen, ObservedState& state) {
  std::string writers;
  for (const auto& writer : screen.writers()) writers += NameOf(writer.get()) + "; ";
  state["screen state"] = Describe(screen.state()) + (screen.is_paused() ? " paused" : "");
  state["screen writers"] = writers;
  state["screen desktop"] = OrNothing(screen.desktop_params());
  state["screen mobile"] = OrNothing(screen.mobile_params());
  state["screen client"] = NameOf(screen.client().get());
  std::string windows;
  for (const long window : screen.excluded()) windows += "-" + Describe(window);
  for (const long window : screen.included()) windows += "+" + Describe(window);
  state["screen windows"] = windows;
}

void ObservePreprocessor(const testing::PreprocessorDouble& preprocessor, ObservedState& state) {
  state["preprocessor processing"] = Describe(preprocessor.is_processing());
  state["preprocessor input"] = NameOfWeak(preprocessor.input());
  std::multiset<std::string> outputs;
  for (const auto& track : preprocessor.output_tracks()) {
    outputs.insert(NameOfWeak(track.writer) + " at " + Describe(track.position) + " " +
                   Describe(track.params));
  }
  for (const std::string& output : outputs) state["preprocessor outputs"] += output + "; ";
  for (const auto& entry : preprocessor.interceptors()) {
    state["preprocessor interceptors"] += NameOfWeak(entry.listener) + " at " +
                                          Describe(entry.position) + " " + Describe(entry.params) +
                                          "; ";
  }
  const auto& told = preprocessor.settings();
  state["preprocessor beauty"] = OrNothing(told.beauty_level);
  state["preprocessor cover"] = Describe(told.cover);
  state["preprocessor source"] = OrNothing(told.source_type);
  state["preprocessor mode"] = OrNothing(told.producer_mode);
  state["preprocessor adaptive mode"] = OrNothing(told.frame_adaptive_mode);
  state["preprocessor adaptive flag"] = OrNothing(told.frame_adaptive_flag);
  state["preprocessor mirror"] = OrNothing(told.mirror);
  state["preprocessor encoder mirror"] = OrNothing(told.encoder_mirror);
  state["preprocessor encoder size"] = OrNothing(told.encoder_output_size);
}

void ObserveRenderer(const testing::RendererDouble& renderer, ObservedState& state) {
  const std::string& name = renderer.name();
  state[name + " started"] = Describe(renderer.is_started());
  state[name + " input"] = NameOf(renderer.input().get());
  state[name + " view"] = NameOf(renderer.view().get());
  state[name + " fill"] = OrNothing(renderer.fill_mode());
  state[name + " background"] = OrNothing(renderer.background_color());
  state[name + " manual focus"] = OrNothing(renderer.manual_focus());
  if (renderer.custom_output().has_value()) {
    const auto& output = renderer.custom_output().value();
    state[name + " output"] = Describe(output.format) + " " + NameOf(output.writer.get());
  }
}

void ObserveEncoder(const testing::EncoderDouble& encoder, ObservedState& state) {
  const std::string& name = encoder.name();
  state[name + " started"] = Describe(encoder.is_started());
  state[name + " params"] = OrNothing(encoder.params());
  state[name + " input"] = NameOfWeak(encoder.input());
  state[name + " output"] = NameOfWeak(encoder.output());
  state[name + " client"] = NameOf(encoder.client().get());
}

}  // namespace

ObservedState Observe(testing::Environment& environment, IVideoProducer2& producer) {
  ObservedState state;
  state["capturing"] = Describe(producer.IsCapturing());
  state["source"] = Describe(producer.GetCurrentSourceType());
  testing::World& world = environment.world();
  ForEachAlive(world.camera_services, [&](const auto& camera) { ObserveCamera(camera, state); });
  ForEachAlive(world.screen_sharings, [&](const auto& screen) { ObserveScreen(screen, state); });
  ForEachAlive(world.preprocessors,
               [&](const auto& preprocessor) { ObservePreprocessor(preprocessor, state); });
  ForEachAlive(world.renderers, [&](const auto& renderer) { ObserveRenderer(renderer, state); });
  ForEachAlive(world.big_encoders, [&](const auto& encoder) { ObserveEncoder(encoder, state); });
  ForEachAlive(world.small_encoders, [&](const auto& encoder) { ObserveEncoder(encoder, state); });
  ForEachAlive(world.tracks, [&](const auto& track) { state[track.name()] = "lives"; });
  auto& notifications = core::NotificationCenter::GetInstance();
  state["subscriptions"] =
      Describe(notifications.ObserverCount(kCameraDeviceStateNotification, "")) + " " +
      Describe(notifications.ObserverCount(kCameraAutoFocusNotification, ""));
  return state;
}

std::string Differences(const ObservedState& expected, const ObservedState& seen) {
  std::string lines;
  const auto look = [](const ObservedState& state, const std::string& what) {
    const auto found = state.find(what);
    return found == state.end() ? std::string("(nothing)") : found->second;
  };
  ObservedState all = expected;
  all.insert(seen.begin(), seen.end());
  for (const auto& [what, value] : all) {
    if (look(expected, what) == look(seen, what)) continue;
    lines += what + ": " + look(expected, what) + " | " + look(seen, what) + "\n";
  }
  return lines;
}

}  // namespace movra::video::model
