// A preprocessor that processes nothing and remembers everything it was told.

#ifndef MOVRA_TESTING_PREPROCESSOR_DOUBLE_H_
#define MOVRA_TESTING_PREPROCESSOR_DOUBLE_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "base/optional.h"
#include "testing/double.h"
#include "testing/world.h"
#include "video/video_preprocessor.h"

namespace movra::testing {

class PreprocessorDouble : public video::IVideoPreprocessor2, public Double {
 public:
  struct OutputTrack {
    video::InterceptPosition position;
    video::CustomProcessParams params;
    std::weak_ptr<video::IPixelFrameTrackWriter> writer;
  };
  struct Interceptor {
    video::InterceptPosition position;
    video::CustomProcessParams params;
    std::weak_ptr<video::VideoInterceptorListener> listener;
  };
  // What it was told last; absent: never told.
  struct Settings {
    movra_base::Optional<video::BeautyStyle> beauty_style;
    movra_base::Optional<float> beauty_level;
    movra_base::Optional<float> whiteness_level;
    movra_base::Optional<float> ruddy_level;
    std::shared_ptr<video::VideoCoverImageParams> cover;
    movra_base::Optional<video::VideoSourceType> source_type;
    movra_base::Optional<video::ProducerMode> producer_mode;
    movra_base::Optional<bool> frame_adaptive_flag;
    movra_base::Optional<video::MirrorMode> mirror;
    movra_base::Optional<video::VideoRotation> rotation;
    movra_base::Optional<bool> encoder_mirror;
    movra_base::Optional<video::Size> encoder_output_size;
    movra_base::Optional<video::VideoRotation> encoder_rotation;
    movra_base::Optional<video::FrameAdaptiveMode> frame_adaptive_mode;
    movra_base::Optional<video::GSensorMode> g_sensor_mode;
  };
  using SnapshotCallback =
      movra_base::OnceCallback<void(std::shared_ptr<video::ObjcWrapper<NSImage>>)>;

  PreprocessorDouble(std::string name, std::shared_ptr<Journal> journal,
                     const video::VideoContext& context,
                     std::shared_ptr<core::DispatchQueue> queue);

  // What its statistics are; what the answers said at first.
  std::uint32_t stat = World::Current().answers.preprocessor_stat;

  [[nodiscard]] const video::VideoContext& context() const { return context_; }
  [[nodiscard]] const std::shared_ptr<core::DispatchQueue>& queue() const { return queue_; }
  [[nodiscard]] bool is_processing() const { return is_processing_; }
  [[nodiscard]] const std::weak_ptr<video::IPixelFrameTrackReader>& input() const { return input_; }
  [[nodiscard]] const Settings& settings() const { return settings_; }

  // What is registered, in the order of adding; entries whose object is gone are left out.
  [[nodiscard]] std::vector<OutputTrack> output_tracks() const;
  [[nodiscard]] std::vector<Interceptor> interceptors() const;
  // How often the writer is registered.
  [[nodiscard]] std::size_t CountRegistrations(
      const std::shared_ptr<video::IPixelFrameTrackWriter>& writer) const;

  // Snapshots wait until they are answered, oldest first; unanswered ones are dropped at the end.
  [[nodiscard]] std::size_t waiting_snapshots() const { return snapshots_.size(); }
  void AnswerSnapshot(std::shared_ptr<video::ObjcWrapper<NSImage>> image);

  // video::IVideoPreprocessor2.
  void StartProcessing() override;
  void SetInputTrackReader(std::weak_ptr<video::IPixelFrameTrackReader> reader) override;
  void AddInterceptor(video::InterceptPosition position, const video::CustomProcessParams& params,
                      std::weak_ptr<video::VideoInterceptorListener> listener) override;
  void RemoveInterceptor(std::weak_ptr<video::VideoInterceptorListener> listener) override;
  void AddOutputTrack(video::InterceptPosition position, const video::CustomProcessParams& params,
                      std::weak_ptr<video::IPixelFrameTrackWriter> writer) override;
  void RemoveOutputTrack(std::weak_ptr<video::IPixelFrameTrackWriter> writer) override;
  void StopProcessing() override;
  [[nodiscard]] std::uint32_t GetStats() override;
  void Snapshot(SnapshotCallback on_done) override;
  void SetBeautyStyle(video::BeautyStyle style) override;
  void SetBeautyLevel(float level) override;
  void SetWhitenessLevel(float level) override;
  void SetRuddyLevel(float level) override;
  void SetLUTColorFilter(std::shared_ptr<video::ObjcWrapper<NSImage>> filter) override;
  void SetLUTColorFilterStrength(float strength) override;
  void SetLUTColorFilter(std::shared_ptr<video::ObjcWrapper<NSImage>> first, float first_strength,
                         std::shared_ptr<video::ObjcWrapper<NSImage>> second, float second_strength,
                         float ratio) override;
  void SetGreenScreenParams(const video::GreenScreenParams& params) override;
  void SetWatermark(std::shared_ptr<video::ObjcWrapper<NSImage>> image, double x, double y,
                    double width, bool in_preview) override;
  void SetCoverImageParams(std::shared_ptr<video::VideoCoverImageParams> params) override;
  void SetSourceType(video::VideoSourceType type) override;
  void SetProducerMode(video::ProducerMode mode) override;
  void SetFrameAdaptiveFlag(bool flag) override;
  void SetMirror(video::MirrorMode mode) override;
  void SetRotation(video::VideoRotation rotation) override;
  void SetEncoderMirror(bool mirror) override;
  void SetEncoderOutputSize(int width, int height) override;
  void SetEncoderRotation(video::VideoRotation rotation) override;
  void SetFrameAdaptiveMode(video::FrameAdaptiveMode mode) override;
  void SetGSensorMode(video::GSensorMode mode) override;

 private:
  const video::VideoContext context_;
  const std::shared_ptr<core::DispatchQueue> queue_;
  bool is_processing_ = false;
  std::weak_ptr<video::IPixelFrameTrackReader> input_;
  std::vector<OutputTrack> output_tracks_;
  std::vector<Interceptor> interceptors_;
  Settings settings_;
  std::vector<SnapshotCallback> snapshots_;
};

}  // namespace movra::testing

#endif  // MOVRA_TESTING_PREPROCESSOR_DOUBLE_H_
