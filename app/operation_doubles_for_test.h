// A producer and objects that tell a journal of what an operation does with them.

#ifndef MOVRA_APP_OPERATION_DOUBLES_FOR_TEST_H_
#define MOVRA_APP_OPERATION_DOUBLES_FOR_TEST_H_

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "app/operations.h"
#include "testing/application_doubles.h"
#include "testing/environment.h"
#include "testing/images.h"

namespace movra::app {

// Every operation is an entry with its arguments. Callbacks are kept for the test to run or drop.
class RecordingProducer final : public video::IVideoProducer2, public testing::Double {
 public:
  using Double::Double;

  // What operations with a result answer.
  video::VideoProducerStats2 stats;
  bool is_capturing = false;
  video::VideoSourceType source_type = video::VideoSourceType::kNone;
  std::vector<video::ScreenSourceInfo> sources;

  movra_base::OnceCallback<void(int, int)> on_started;
  movra_base::OnceCallback<void()> on_stopped;
  movra_base::OnceCallback<void(std::shared_ptr<testing::Image>)> on_picture;

  // The slots of the operations that have been called.
  [[nodiscard]] const std::set<std::size_t>& slots_called() const { return slots_; }

  // IVideoProducer2
  void SetClient(std::shared_ptr<Client> client) override;
  video::VideoProducerStats2 GetStats(video::VideoStreamType type) override;
  void Initialize() override;
  void Uninitialize() override;
  video::VideoProducerType GetProducerType() const override;
  void StartCapture(const video::CameraParams& params,
                    movra_base::OnceCallback<void(int, int)>&& callback) override;
  void StartCapture(const video::DesktopScreenParams& params) override;
  void StartCapture(const video::MobileScreenParams& params) override;
  void StopCapture(movra_base::OnceCallback<void()>&& callback) override;
  void PauseCapture() override;
  void ResumeCapture() override;
  void SetProducerMode(video::ProducerMode mode) override;
  bool IsCapturing() override;
  video::VideoSourceType GetCurrentSourceType() override;
  void SetCameraFocusPosition(float x, float y) override;
  void SetRenderView(std::shared_ptr<testing::View> view) override;
  void SetRenderMirror(video::MirrorMode mode) override;
  void SetRenderRotation(video::VideoRotation rotation) override;
  void SetRenderBackgroundColor(unsigned int color) override;
  void SetFillMode(video::FillMode mode) override;
  void SetGSensorMode(video::GSensorMode mode) override;
  void SetOutputFrameAdaptiveMode(video::FrameAdaptiveMode mode, bool flag) override;
  void SetCoverImageParams(std::shared_ptr<video::VideoCoverImageParams> params) override;
  void StartEncoder(video::VideoStreamType type, const video::EncodeParams& params,
                    std::shared_ptr<video::IVideoFrameTrackWriter> writer) override;
  void StopEncoder(video::VideoStreamType type, unsigned long long max_wait_ms) override;
  void SetEncoderParams(video::VideoStreamType type, const video::EncodeParams& params) override;
  void SetEncoderMirror(bool mirror) override;
  void SetEncoderRotation(video::VideoRotation rotation) override;
  void SetRpsNearestRefSize(video::VideoStreamType type, int size) override;
  void DeliverRpsAck(video::VideoStreamType type, const video::RpsAck& ack) override;
  void RequestKeyFrame(video::VideoStreamType type) override;
  void SetRoiConfig(video::VideoStreamType type,
                    const std::vector<video::RoiConfigInfo>& configs) override;
  void EnableCustomProcessing(bool enable, video::PixelFormat format, video::BufferType type,
                              std::shared_ptr<video::VideoInterceptorListener> listener) override;
  void EnableCustomRendering(bool enable, video::PixelFormat format, video::BufferType type,
                             std::shared_ptr<video::IPixelFrameTrackWriter> writer) override;
  void EnableCustomCapturing(bool enable) override;
  void SetCustomCaptureInputTrack(std::shared_ptr<video::IPixelFrameTrackReader> reader) override;
  void AddVideoShuntTrack(video::InterceptPosition position, video::PixelFormat format,
                          video::BufferType type,
                          std::shared_ptr<video::IPixelFrameTrackWriter> writer) override;
  void RemoveVideoShuntTrack(std::shared_ptr<video::IPixelFrameTrackWriter> writer) override;
  void AddInterceptor(video::InterceptPosition position, const video::CustomProcessParams& params,
                      std::weak_ptr<video::VideoInterceptorListener> listener) override;
  void RemoveInterceptor(std::weak_ptr<video::VideoInterceptorListener> listener) override;
  void SetWatermark(std::shared_ptr<testing::Image> image, double x, double y, double width,
                    bool in_preview) override;
  void Snapshot(video::SnapshotSourceType source,
                movra_base::OnceCallback<void(std::shared_ptr<testing::Image>)> callback) override;
  void SetBeautyStyle(video::BeautyStyle style) override;
  void SetBeautyLevel(float level) override;
  void SetWhitenessLevel(float level) override;
  void SetRuddyLevel(float level) override;
  void SetLUTColorFilter(std::shared_ptr<testing::Image> filter) override;
  void SetLUTColorFilterStrength(float strength) override;
  void SetLUTColorFilter(std::shared_ptr<testing::Image> first, float first_strength,
                         std::shared_ptr<testing::Image> second, float second_strength,
                         float ratio) override;
  void SetGreenScreenParams(const video::GreenScreenParams& params) override;
  std::vector<video::ScreenSourceInfo> GetScreenShareSourceList(
      const video::Size& thumbnail_size, const video::Size& icon_size) override;
  void AddExcludedShareWindow(long window) override;
  void RemoveExcludedShareWindow(long window) override;
  void RemoveAllExcludedShareWindow() override;
  void AddIncludedShareWindow(long window) override;
  void RemoveIncludedShareWindow(long window) override;
  void RemoveAllIncludedShareWindow() override;

 private:
  template <class Signature, class... Args>
  void Tell(Signature IVideoProducer2::*operation, std::string_view name,
            const Args&... args) const;

  mutable std::set<std::size_t> slots_;
};

// Makes doubles that are named as they were asked for; "nothing" cannot be made.
class ObjectDoubles final : public OperationObjects {
 public:
  explicit ObjectDoubles(testing::Environment& env)
      : env_(env), recorder_(env.Make<testing::ClientDouble>("recorder")) {}

  // OperationObjects
  Result<std::shared_ptr<Writer>> MakeWriter(const std::string& spec) override;
  Result<std::shared_ptr<Reader>> MakeReader(const std::string& id) override;
  Result<std::shared_ptr<View>> MakeView(const std::string& text) override;
  Result<std::shared_ptr<Image>> MakeImage(const std::string& text) override;
  Result<std::shared_ptr<Listener>> MakeListener(const std::string& text) override;
  Result<std::shared_ptr<ShuntWriter>> MakeShuntWriter(const std::string& path) override;
  std::shared_ptr<Client> Recorder() override { return recorder_; }
  Json DescribeImage(const Image& image) override { return {{"picture", image.name()}}; }

 private:
  template <class Double, class Object>
  Result<std::shared_ptr<Object>> Make(const std::string& text);

  testing::Environment& env_;
  const std::shared_ptr<Client> recorder_;
};

class OperationsTest : public ::testing::Test {
 protected:
  OperationsTest();

  // Calls, and keeps what is answered in `answers()`.
  void Call(std::string_view name, const Json& arguments = {});

  // The answers since the last call of this, each as it is written; a failure is its text.
  [[nodiscard]] std::vector<std::string> Answers();
  [[nodiscard]] std::vector<std::string> Journal() { return env_.journal().Take(); }
  // What the call did to the producer and to objects; it has to answer null.
  [[nodiscard]] std::vector<std::string> EntriesOf(std::string_view name,
                                                   const Json& arguments = {});
  // The text of the failure; the call has to do nothing.
  [[nodiscard]] std::string FailureOfCall(std::string_view name, const Json& arguments = {});

  [[nodiscard]] testing::Environment& env() { return env_; }
  [[nodiscard]] RecordingProducer& producer() { return *producer_; }
  void ReleaseOperations() { operations_.reset(); }

 private:
  testing::Environment env_;
  std::shared_ptr<RecordingProducer> producer_;
  std::optional<Operations> operations_;
  std::vector<std::string> answers_;
};

}  // namespace movra::app

#endif  // MOVRA_APP_OPERATION_DOUBLES_FOR_TEST_H_
