// The model's state in the words of ObservedState.

#include <set>

#include "model/producer_model.h"
#include "testing/describe.h"

namespace movra::video::model {

using testing::Describe;

namespace {

template <class T>
std::string OrNothing(const std::optional<T>& value) {
  return value ? Describe(*value) : "-";
}

}  // namespace

ObservedState ProducerModel::State() const {
  ObservedState state;
  state["capturing"] = Describe(status_ == Status::kStarted);
  state["source"] = Describe(source_);
  if (camera_) {
    std::string captures;
    for (const Capture& capture : camera_->captures) {
      captures += capture.params + " into " + capture.writer + "; ";
    }
    state[camera_->name + " captures"] = captures;
    state[camera_->name + " updated"] = camera_->updated;
    state[camera_->name + " callbacks"] = Describe(camera_->callbacks);
  }
  if (!uninitialized_) {
    state["screen state"] = screen_state_ + (screen_paused_ ? " paused" : "");
    std::string writers;
    for (const std::string& writer : screen_writers_) writers += writer + "; ";
    state["screen writers"] = writers;
    state["screen desktop"] = screen_desktop_;
    state["screen mobile"] = screen_mobile_;
    state["screen client"] = screen_client_;
    std::string windows;
    for (const long window : excluded_) windows += "-" + Describe(window);
    for (const long window : included_) windows += "+" + Describe(window);
    state["screen windows"] = windows;
    DescribePreprocessor(state);
  }
  DescribeRenderer(local_, local_track_, state);
  DescribeRenderer(custom_, custom_track_, state);
  DescribeEncoders(state);
  if (!capture_track_.empty()) state[capture_track_] = "lives";
  state["subscriptions"] = subscribed_ ? "1 1" : "0 0";
  return state;
}

void ProducerModel::DescribePreprocessor(ObservedState& state) const {
  for (const auto& [setting, value] : told_) state["preprocessor " + setting] = value;
  // The preprocessor holds its input weakly.
  const bool is_own_track = input_ == capture_track_ + ".reader";
  state["preprocessor input"] = is_own_track || input_ == "application reader" ? input_ : "null";
  std::multiset<std::string> outputs;
  for (const Tap& tap : taps_) {
    outputs.insert(tap.writer + " at " + Describe(tap.position) + " " + Describe(tap.params));
  }
  for (const std::string& output : outputs) state["preprocessor outputs"] += output + "; ";
  for (const Listener& listener : listeners_) {
    state["preprocessor interceptors"] += listener.name + " at " + Describe(listener.position) +
                                          " " + Describe(listener.params) + "; ";
  }
}

void ProducerModel::DescribeRenderer(const std::optional<Renderer>& renderer,
                                     const std::string& track, ObservedState& state) const {
  if (!track.empty()) state[track] = "lives";
  if (!renderer) return;
  state[renderer->name + " started"] = "true";
  state[renderer->name + " input"] = renderer->input;
  state[renderer->name + " view"] = renderer->view;
  state[renderer->name + " fill"] = OrNothing(renderer->fill);
  state[renderer->name + " background"] = OrNothing(renderer->background);
  state[renderer->name + " manual focus"] = OrNothing(renderer->manual_focus);
  if (!renderer->output.empty()) state[renderer->name + " output"] = renderer->output;
}

void ProducerModel::DescribeEncoders(ObservedState& state) const {
  for (const Encoder& encoder : encoders_) {
    if (!encoder.track.empty()) state[encoder.track] = "lives";
    if (encoder.name.empty()) continue;
    state[encoder.name + " started"] = Describe(encoder.started);
    state[encoder.name + " params"] = encoder.params;
    state[encoder.name + " input"] = encoder.input;
    state[encoder.name + " output"] = encoder.output;
    state[encoder.name + " client"] = "producer";
  }
}

}  // namespace movra::video::model
