#include "testing/preprocessor_double.h"

#include <algorithm>
#include <utility>

#include "testing/world.h"

namespace movra::testing {
namespace {

// By identity, so that one that is gone can be removed too.
template <class T>
bool IsSame(const std::weak_ptr<T>& a, const std::weak_ptr<T>& b) {
  return !a.owner_before(b) && !b.owner_before(a);
}

}  // namespace

PreprocessorDouble::PreprocessorDouble(std::string name, std::shared_ptr<Journal> journal,
                                       const video::VideoContext& context,
                                       std::shared_ptr<core::DispatchQueue> queue)
    : Double(std::move(name), std::move(journal)), context_(context), queue_(std::move(queue)) {}

std::vector<PreprocessorDouble::OutputTrack> PreprocessorDouble::output_tracks() const {
  std::vector<OutputTrack> alive = output_tracks_;
  std::erase_if(alive, [](const OutputTrack& track) { return track.writer.expired(); });
  return alive;
}

std::vector<PreprocessorDouble::Interceptor> PreprocessorDouble::interceptors() const {
  std::vector<Interceptor> alive = interceptors_;
  std::erase_if(alive, [](const Interceptor& entry) { return entry.listener.expired(); });
  return alive;
}

std::size_t PreprocessorDouble::CountRegistrations(
    const std::shared_ptr<video::IPixelFrameTrackWriter>& writer) const {
  return static_cast<std::size_t>(
      std::count_if(output_tracks_.begin(), output_tracks_.end(),
                    [&](const OutputTrack& track) { return track.writer.lock() == writer; }));
}

void PreprocessorDouble::AnswerSnapshot(std::shared_ptr<video::ObjcWrapper<NSImage>> image) {
  if (snapshots_.empty()) throw std::logic_error("no snapshot waits for an answer");
  SnapshotCallback on_done = std::move(snapshots_.front());
  snapshots_.erase(snapshots_.begin());
  std::move(on_done).Run(std::move(image));
}

void PreprocessorDouble::StartProcessing() {
  Called("StartProcessing");
  is_processing_ = true;
}

void PreprocessorDouble::SetInputTrackReader(std::weak_ptr<video::IPixelFrameTrackReader> reader) {
  Called("SetInputTrackReader", reader);
  input_ = std::move(reader);
}

void PreprocessorDouble::AddInterceptor(video::InterceptPosition position,
                                        const video::CustomProcessParams& params,
                                        std::weak_ptr<video::VideoInterceptorListener> listener) {
  Called("AddInterceptor", position, params, listener);
  interceptors_.push_back({position, params, std::move(listener)});
}

void PreprocessorDouble::RemoveInterceptor(
    std::weak_ptr<video::VideoInterceptorListener> listener) {
  Called("RemoveInterceptor", listener);
  std::erase_if(interceptors_,
                [&](const Interceptor& entry) { return IsSame(entry.listener, listener); });
}

void PreprocessorDouble::AddOutputTrack(video::InterceptPosition position,
                                        const video::CustomProcessParams& params,
                                        std::weak_ptr<video::IPixelFrameTrackWriter> writer) {
  Called("AddOutputTrack", position, params, writer);
  output_tracks_.push_back({position, params, std::move(writer)});
}

void PreprocessorDouble::RemoveOutputTrack(std::weak_ptr<video::IPixelFrameTrackWriter> writer) {
  Called("RemoveOutputTrack", writer);
  std::erase_if(output_tracks_,
                [&](const OutputTrack& track) { return IsSame(track.writer, writer); });
}

void PreprocessorDouble::StopProcessing() {
  Called("StopProcessing");
  is_processing_ = false;
}

std::uint32_t PreprocessorDouble::GetStats() {
  Called("GetStats");
  return stat;
}

void PreprocessorDouble::Snapshot(SnapshotCallback on_done) {
  Called("Snapshot", on_done);
  snapshots_.push_back(std::move(on_done));
}

void PreprocessorDouble::SetBeautyStyle(video::BeautyStyle style) {
  Called("SetBeautyStyle", style);
  settings_.beauty_style = style;
}

void PreprocessorDouble::SetBeautyLevel(float level) {
  Called("SetBeautyLevel", level);
  settings_.beauty_level = level;
}

void PreprocessorDouble::SetWhitenessLevel(float level) {
  Called("SetWhitenessLevel", level);
  settings_.whiteness_level = level;
}

void PreprocessorDouble::SetRuddyLevel(float level) {
  Called("SetRuddyLevel", level);
  settings_.ruddy_level = level;
}

void PreprocessorDouble::SetLUTColorFilter(std::shared_ptr<video::ObjcWrapper<NSImage>> filter) {
  Called("SetLUTColorFilter", filter);
}

void PreprocessorDouble::SetLUTColorFilterStrength(float strength) {
  Called("SetLUTColorFilterStrength", strength);
}

void PreprocessorDouble::SetLUTColorFilter(std::shared_ptr<video::ObjcWrapper<NSImage>> first,
                                           float first_strength,
                                           std::shared_ptr<video::ObjcWrapper<NSImage>> second,
                                           float second_strength, float ratio) {
  Called("SetLUTColorFilter", first, first_strength, second, second_strength, ratio);
}

void PreprocessorDouble::SetGreenScreenParams(const video::GreenScreenParams& params) {
  Called("SetGreenScreenParams", params);
}

void PreprocessorDouble::SetWatermark(std::shared_ptr<video::ObjcWrapper<NSImage>> image, double x,
                                      double y, double width, bool in_preview) {
  Called("SetWatermark", image, x, y, width, in_preview);
}

void PreprocessorDouble::SetCoverImageParams(std::shared_ptr<video::VideoCoverImageParams> params) {
  Called("SetCoverImageParams", params);
  settings_.cover = std::move(params);
}

void PreprocessorDouble::SetSourceType(video::VideoSourceType type) {
  Called("SetSourceType", type);
  settings_.source_type = type;
}

void PreprocessorDouble::SetProducerMode(video::ProducerMode mode) {
  Called("SetProducerMode", mode);
  settings_.producer_mode = mode;
}

void PreprocessorDouble::SetFrameAdaptiveFlag(bool flag) {
  Called("SetFrameAdaptiveFlag", flag);
  settings_.frame_adaptive_flag = flag;
}

void PreprocessorDouble::SetMirror(video::MirrorMode mode) {
  Called("SetMirror", mode);
  settings_.mirror = mode;
}

void PreprocessorDouble::SetRotation(video::VideoRotation rotation) {
  Called("SetRotation", rotation);
  settings_.rotation = rotation;
}

void PreprocessorDouble::SetEncoderMirror(bool mirror) {
  Called("SetEncoderMirror", mirror);
  settings_.encoder_mirror = mirror;
}

void PreprocessorDouble::SetEncoderOutputSize(int width, int height) {
  Called("SetEncoderOutputSize", width, height);
  settings_.encoder_output_size = video::Size{width, height};
}

void PreprocessorDouble::SetEncoderRotation(video::VideoRotation rotation) {
  Called("SetEncoderRotation", rotation);
  settings_.encoder_rotation = rotation;
}

void PreprocessorDouble::SetFrameAdaptiveMode(video::FrameAdaptiveMode mode) {
  Called("SetFrameAdaptiveMode", mode);
  settings_.frame_adaptive_mode = mode;
}

void PreprocessorDouble::SetGSensorMode(video::GSensorMode mode) {
  Called("SetGSensorMode", mode);
  settings_.g_sensor_mode = mode;
}

}  // namespace movra::testing

namespace movra::video {

std::shared_ptr<IVideoPreprocessor2> IVideoPreprocessor2::Create(
    const VideoContext& context, std::shared_ptr<core::DispatchQueue> queue) {
  testing::World& world = testing::World::Current();
  world.journal()->Call("IVideoPreprocessor2", "Create", context, queue);
  if (!world.answers.makes_preprocessor) return nullptr;
  auto made = std::make_shared<testing::PreprocessorDouble>(
      world.UniqueName("preprocessor"), world.journal(), context, std::move(queue));
  world.preprocessors.Add(made);
  return made;
}

}  // namespace movra::video
