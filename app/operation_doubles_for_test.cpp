#include "app/operation_doubles_for_test.h"

#include <utility>

#include "testing/slot_order.h"

namespace movra::app {

template <class Signature, class... Args>
void RecordingProducer::Tell(Signature IVideoProducer2::*operation, std::string_view name,
                             const Args&... args) const {
  slots_.insert(testing::SlotOf<Signature>(operation));
  Called(name, args...);
}

void RecordingProducer::SetClient(std::shared_ptr<Client> client) {
  Tell(&IVideoProducer2::SetClient, "SetClient", client);
}

video::VideoProducerStats2 RecordingProducer::GetStats(video::VideoStreamType type) {
  Tell(&IVideoProducer2::GetStats, "GetStats", type);
  return stats;
}

void RecordingProducer::Initialize() { Tell(&IVideoProducer2::Initialize, "Initialize"); }

void RecordingProducer::Uninitialize() { Tell(&IVideoProducer2::Uninitialize, "Uninitialize"); }

video::VideoProducerType RecordingProducer::GetProducerType() const {
  Tell(&IVideoProducer2::GetProducerType, "GetProducerType");
  return video::VideoProducerType::kDefault;
}

void RecordingProducer::StartCapture(const video::CameraParams& params,
                                     movra_base::OnceCallback<void(int, int)>&& callback) {
  Tell<void(const video::CameraParams&, movra_base::OnceCallback<void(int, int)>&&)>(
      &IVideoProducer2::StartCapture, "StartCapture", params, callback);
  on_started = std::move(callback);
}

void RecordingProducer::StartCapture(const video::DesktopScreenParams& params) {
  Tell<void(const video::DesktopScreenParams&)>(&IVideoProducer2::StartCapture, "StartCapture",
                                                params);
}

void RecordingProducer::StartCapture(const video::MobileScreenParams& params) {
  Tell<void(const video::MobileScreenParams&)>(&IVideoProducer2::StartCapture, "StartCapture",
                                               params);
}

void RecordingProducer::StopCapture(movra_base::OnceCallback<void()>&& callback) {
  Tell(&IVideoProducer2::StopCapture, "StopCapture", callback);
  on_stopped = std::move(callback);
}

void RecordingProducer::PauseCapture() { Tell(&IVideoProducer2::PauseCapture, "PauseCapture"); }

void RecordingProducer::ResumeCapture() { Tell(&IVideoProducer2::ResumeCapture, "ResumeCapture"); }

void RecordingProducer::SetProducerMode(video::ProducerMode mode) {
  Tell(&IVideoProducer2::SetProducerMode, "SetProducerMode", mode);
}

bool RecordingProducer::IsCapturing() {
  Tell(&IVideoProducer2::IsCapturing, "IsCapturing");
  return is_capturing;
}

video::VideoSourceType RecordingProducer::GetCurrentSourceType() {
  Tell(&IVideoProducer2::GetCurrentSourceType, "GetCurrentSourceType");
  return source_type;
}

void RecordingProducer::SetCameraFocusPosition(float x, float y) {
  Tell(&IVideoProducer2::SetCameraFocusPosition, "SetCameraFocusPosition", x, y);
}

void RecordingProducer::SetRenderView(std::shared_ptr<testing::View> view) {
  Tell(&IVideoProducer2::SetRenderView, "SetRenderView", view);
}

void RecordingProducer::SetRenderMirror(video::MirrorMode mode) {
  Tell(&IVideoProducer2::SetRenderMirror, "SetRenderMirror", mode);
}

void RecordingProducer::SetRenderRotation(video::VideoRotation rotation) {
  Tell(&IVideoProducer2::SetRenderRotation, "SetRenderRotation", rotation);
}

void RecordingProducer::SetRenderBackgroundColor(unsigned int color) {
  Tell(&IVideoProducer2::SetRenderBackgroundColor, "SetRenderBackgroundColor", color);
}

void RecordingProducer::SetFillMode(video::FillMode mode) {
  Tell(&IVideoProducer2::SetFillMode, "SetFillMode", mode);
}

void RecordingProducer::SetGSensorMode(video::GSensorMode mode) {
  Tell(&IVideoProducer2::SetGSensorMode, "SetGSensorMode", mode);
}

void RecordingProducer::SetOutputFrameAdaptiveMode(video::FrameAdaptiveMode mode, bool flag) {
  Tell(&IVideoProducer2::SetOutputFrameAdaptiveMode, "SetOutputFrameAdaptiveMode", mode, flag);
}

void RecordingProducer::SetCoverImageParams(std::shared_ptr<video::VideoCoverImageParams> params) {
  Tell(&IVideoProducer2::SetCoverImageParams, "SetCoverImageParams", params);
}

void RecordingProducer::StartEncoder(video::VideoStreamType type, const video::EncodeParams& params,
                                     std::shared_ptr<video::IVideoFrameTrackWriter> writer) {
  Tell(&IVideoProducer2::StartEncoder, "StartEncoder", type, params, writer);
}

void RecordingProducer::StopEncoder(video::VideoStreamType type, unsigned long long max_wait_ms) {
  Tell(&IVideoProducer2::StopEncoder, "StopEncoder", type, max_wait_ms);
}

void RecordingProducer::SetEncoderParams(video::VideoStreamType type,
                                         const video::EncodeParams& params) {
  Tell(&IVideoProducer2::SetEncoderParams, "SetEncoderParams", type, params);
}

void RecordingProducer::SetEncoderMirror(bool mirror) {
  Tell(&IVideoProducer2::SetEncoderMirror, "SetEncoderMirror", mirror);
}

void RecordingProducer::SetEncoderRotation(video::VideoRotation rotation) {
  Tell(&IVideoProducer2::SetEncoderRotation, "SetEncoderRotation", rotation);
}

void RecordingProducer::SetRpsNearestRefSize(video::VideoStreamType type, int size) {
  Tell(&IVideoProducer2::SetRpsNearestRefSize, "SetRpsNearestRefSize", type, size);
}

void RecordingProducer::DeliverRpsAck(video::VideoStreamType type, const video::RpsAck& ack) {
  Tell(&IVideoProducer2::DeliverRpsAck, "DeliverRpsAck", type, ack.receive_time_ms, ack.ack_value,
       ack.ack_flag);
}

void RecordingProducer::RequestKeyFrame(video::VideoStreamType type) {
  Tell(&IVideoProducer2::RequestKeyFrame, "RequestKeyFrame", type);
}

void RecordingProducer::SetRoiConfig(video::VideoStreamType type,
                                     const std::vector<video::RoiConfigInfo>& configs) {
  Tell(&IVideoProducer2::SetRoiConfig, "SetRoiConfig", type, configs);
}

void RecordingProducer::EnableCustomProcessing(
    bool enable, video::PixelFormat format, video::BufferType type,
    std::shared_ptr<video::VideoInterceptorListener> listener) {
  Tell(&IVideoProducer2::EnableCustomProcessing, "EnableCustomProcessing", enable, format, type,
       listener);
}

void RecordingProducer::EnableCustomRendering(
    bool enable, video::PixelFormat format, video::BufferType type,
    std::shared_ptr<video::IPixelFrameTrackWriter> writer) {
  Tell(&IVideoProducer2::EnableCustomRendering, "EnableCustomRendering", enable, format, type,
       writer);
}

void RecordingProducer::EnableCustomCapturing(bool enable) {
  Tell(&IVideoProducer2::EnableCustomCapturing, "EnableCustomCapturing", enable);
}

void RecordingProducer::SetCustomCaptureInputTrack(
    std::shared_ptr<video::IPixelFrameTrackReader> reader) {
  Tell(&IVideoProducer2::SetCustomCaptureInputTrack, "SetCustomCaptureInputTrack", reader);
}

void RecordingProducer::AddVideoShuntTrack(video::InterceptPosition position,
                                           video::PixelFormat format, video::BufferType type,
                                           std::shared_ptr<video::IPixelFrameTrackWriter> writer) {
  Tell(&IVideoProducer2::AddVideoShuntTrack, "AddVideoShuntTrack", position, format, type, writer);
}

void RecordingProducer::RemoveVideoShuntTrack(
    std::shared_ptr<video::IPixelFrameTrackWriter> writer) {
  Tell(&IVideoProducer2::RemoveVideoShuntTrack, "RemoveVideoShuntTrack", writer);
}

void RecordingProducer::AddInterceptor(video::InterceptPosition position,
                                       const video::CustomProcessParams& params,
                                       std::weak_ptr<video::VideoInterceptorListener> listener) {
  Tell(&IVideoProducer2::AddInterceptor, "AddInterceptor", position, params, listener);
}

void RecordingProducer::RemoveInterceptor(std::weak_ptr<video::VideoInterceptorListener> listener) {
  Tell(&IVideoProducer2::RemoveInterceptor, "RemoveInterceptor", listener);
}

void RecordingProducer::SetWatermark(std::shared_ptr<testing::Image> image, double x, double y,
                                     double width, bool in_preview) {
  Tell(&IVideoProducer2::SetWatermark, "SetWatermark", image, x, y, width, in_preview);
}

void RecordingProducer::Snapshot(
    video::SnapshotSourceType source,
    movra_base::OnceCallback<void(std::shared_ptr<testing::Image>)> callback) {
  Tell(&IVideoProducer2::Snapshot, "Snapshot", source, callback);
  on_picture = std::move(callback);
}

void RecordingProducer::SetBeautyStyle(video::BeautyStyle style) {
  Tell(&IVideoProducer2::SetBeautyStyle, "SetBeautyStyle", style);
}

void RecordingProducer::SetBeautyLevel(float level) {
  Tell(&IVideoProducer2::SetBeautyLevel, "SetBeautyLevel", level);
}

void RecordingProducer::SetWhitenessLevel(float level) {
  Tell(&IVideoProducer2::SetWhitenessLevel, "SetWhitenessLevel", level);
}

void RecordingProducer::SetRuddyLevel(float level) {
  Tell(&IVideoProducer2::SetRuddyLevel, "SetRuddyLevel", level);
}

void RecordingProducer::SetLUTColorFilter(std::shared_ptr<testing::Image> filter) {
  Tell<void(std::shared_ptr<testing::Image>)>(&IVideoProducer2::SetLUTColorFilter,
                                              "SetLUTColorFilter", filter);
}

void RecordingProducer::SetLUTColorFilterStrength(float strength) {
  Tell(&IVideoProducer2::SetLUTColorFilterStrength, "SetLUTColorFilterStrength", strength);
}

void RecordingProducer::SetLUTColorFilter(std::shared_ptr<testing::Image> first,
                                          float first_strength,
                                          std::shared_ptr<testing::Image> second,
                                          float second_strength, float ratio) {
  Tell<void(std::shared_ptr<testing::Image>, float, std::shared_ptr<testing::Image>, float, float)>(
      &IVideoProducer2::SetLUTColorFilter, "SetLUTColorFilter", first, first_strength, second,
      second_strength, ratio);
}

void RecordingProducer::SetGreenScreenParams(const video::GreenScreenParams& params) {
  Tell(&IVideoProducer2::SetGreenScreenParams, "SetGreenScreenParams", params);
}

std::vector<video::ScreenSourceInfo> RecordingProducer::GetScreenShareSourceList(
    const video::Size& thumbnail_size, const video::Size& icon_size) {
  Tell(&IVideoProducer2::GetScreenShareSourceList, "GetScreenShareSourceList", thumbnail_size,
       icon_size);
  return sources;
}

void RecordingProducer::AddExcludedShareWindow(long window) {
  Tell(&IVideoProducer2::AddExcludedShareWindow, "AddExcludedShareWindow", window);
}

void RecordingProducer::RemoveExcludedShareWindow(long window) {
  Tell(&IVideoProducer2::RemoveExcludedShareWindow, "RemoveExcludedShareWindow", window);
}

void RecordingProducer::RemoveAllExcludedShareWindow() {
  Tell(&IVideoProducer2::RemoveAllExcludedShareWindow, "RemoveAllExcludedShareWindow");
}

void RecordingProducer::AddIncludedShareWindow(long window) {
  Tell(&IVideoProducer2::AddIncludedShareWindow, "AddIncludedShareWindow", window);
}

void RecordingProducer::RemoveIncludedShareWindow(long window) {
  Tell(&IVideoProducer2::RemoveIncludedShareWindow, "RemoveIncludedShareWindow", window);
}

void RecordingProducer::RemoveAllIncludedShareWindow() {
  Tell(&IVideoProducer2::RemoveAllIncludedShareWindow, "RemoveAllIncludedShareWindow");
}

template <class Double, class Object>
Result<std::shared_ptr<Object>> ObjectDoubles::Make(const std::string& text) {
  if (text == "nothing") return Failure{ExitCode::kNotBuilt, "there is none"};
  env_.journal().Call("objects", "Make", text);
  return std::shared_ptr<Object>(env_.Make<Double>(text));
}

Result<std::shared_ptr<OperationObjects::Writer>> ObjectDoubles::MakeWriter(
    const std::string& spec) {
  return Make<testing::EncodedWriterDouble, Writer>(spec);
}

Result<std::shared_ptr<OperationObjects::Reader>> ObjectDoubles::MakeReader(const std::string& id) {
  return Make<testing::FrameReaderDouble, Reader>(id);
}

Result<std::shared_ptr<OperationObjects::View>> ObjectDoubles::MakeView(const std::string& text) {
  if (text == "nothing") return Failure{ExitCode::kNotBuilt, "there is none"};
  return testing::MakeView(text);
}

Result<std::shared_ptr<OperationObjects::Image>> ObjectDoubles::MakeImage(const std::string& text) {
  if (text == "nothing") return Failure{ExitCode::kNotBuilt, "there is none"};
  return testing::MakeImage(text);
}

Result<std::shared_ptr<OperationObjects::Listener>> ObjectDoubles::MakeListener(
    const std::string& text) {
  return Make<testing::ListenerDouble, Listener>(text);
}

Result<std::shared_ptr<OperationObjects::ShuntWriter>> ObjectDoubles::MakeShuntWriter(
    const std::string& path) {
  return Make<testing::FrameWriterDouble, ShuntWriter>(path);
}

OperationsTest::OperationsTest() : producer_(env_.Make<RecordingProducer>("producer")) {
  env_.journal().LeaveOut(testing::Journal::kQueueCheck);
  operations_.emplace(producer_, std::make_shared<ObjectDoubles>(env_));
}

void OperationsTest::Call(std::string_view name, const Json& arguments) {
  operations_->Call(name, arguments, [this](const Result<Json>& answer) {
    const Failure* const failure = FailureOf(answer);
    answers_.push_back(failure ? failure->text : ValueOf(answer).dump());
  });
}

std::vector<std::string> OperationsTest::Answers() { return std::exchange(answers_, {}); }

std::vector<std::string> OperationsTest::EntriesOf(std::string_view name, const Json& arguments) {
  env_.journal().Clear();
  Call(name, arguments);
  EXPECT_EQ(Answers(), std::vector<std::string>{"null"}) << name;
  return env_.journal().Take();
}

std::string OperationsTest::FailureOfCall(std::string_view name, const Json& arguments) {
  env_.journal().Clear();
  Call(name, arguments);
  EXPECT_EQ(env_.journal().Take(), std::vector<std::string>()) << name;
  const std::vector<std::string> answers = Answers();
  EXPECT_EQ(answers.size(), 1u) << name;
  return answers.empty() ? "" : answers.front();
}

}  // namespace movra::app
