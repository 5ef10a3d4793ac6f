#include "benchmarks/producer_operations.h"

#include <utility>

namespace movra::video {

template <>
class ObjcWrapper<NSView> {};

}  // namespace movra::video

namespace movra::benchmarks {
namespace {

using namespace movra::video;  // NOLINT: the table below names little else

class NullClient : public IVideoProducer2::Client {
 public:
  void OnEncoderPropertyChanged(IVideoProducer2*, VideoStreamType, const EncoderProperty&,
                                const EncoderProperty&, const EventMsg&) override {}
  void OnEncodeAbilityChanged(IVideoProducer2*, EncodeAbility) override {}
  void OnEncoderError(IVideoProducer2*, VideoStreamType, VideoEncoderError,
                      const movra_base::Value&) override {}
  void OnRenderFirstFrame(IVideoProducer2*, unsigned int, unsigned int, const EventMsg&) override {}
  void OnRenderError(IVideoProducer2*, VideoRenderError) override {}
  void OnScreenSharingError(IVideoProducer2*, long, VideoScreenSharingError) override {}
  void OnScreenSharingStarted(IVideoProducer2*, long) override {}
  void OnScreenSharingStopped(IVideoProducer2*, long, VideoScreenSharingStoppedReason) override {}
  void OnScreenSharingPaused(IVideoProducer2*, long, VideoScreenSharingPausedReason) override {}
  void OnScreenSharingResumed(IVideoProducer2*, long, VideoScreenSharingResumedReason) override {}
  void OnScreenSharingFirstFrame(IVideoProducer2*, long, long long) override {}
  void OnWindowCovered(IVideoProducer2*, long) override {}
  void OnCapturerModeChange(IVideoProducer2*, long, CapturerMode, CapturerMode) override {}
};

class NullFrameWriter : public IVideoFrameTrackWriter {
 public:
  void Write(const EncodedFrame&) override {}
};

const std::shared_ptr<IVideoProducer2::Client> client = std::make_shared<NullClient>();
const std::shared_ptr<IVideoFrameTrackWriter> frame_writer = std::make_shared<NullFrameWriter>();
const std::shared_ptr<ObjcWrapper<NSView>> view = std::make_shared<ObjcWrapper<NSView>>();
const EncoderProperty property;
const movra_base::Value error_detail;

using P = VideoProducer2Impl;
constexpr auto kBig = VideoStreamType::kBig;

void AddGeneralOperations(std::vector<ProducerOperation>& all) {
  all.insert(
      all.end(),
      {{"SetClient", true, [](P& p) { p.SetClient(client); }},
       {"GetStats", true, [](P& p) { static_cast<void>(p.GetStats(kBig)); }},
       {"Initialize", true, [](P& p) { p.Initialize(); }},
       {"GetProducerType", true, [](P& p) { static_cast<void>(p.GetProducerType()); }},
       {"SetProducerMode", true, [](P& p) { p.SetProducerMode(ProducerMode::kDefault); }},
       {"IsCapturing", true, [](P& p) { static_cast<void>(p.IsCapturing()); }},
       {"GetCurrentSourceType", true, [](P& p) { static_cast<void>(p.GetCurrentSourceType()); }},
       {"GetEncodeAbility", true,
        [](P&) { static_cast<void>(IVideoProducer2::GetEncodeAbility()); }},
       {"StartCapture while started", false,
        [](P& p) {
          static const CameraParams params = MakeCameraParams();
          p.StartCapture(params, {});
        }},
       {"StopCapture and StartCapture", false,
        [](P& p) {
          static const CameraParams params = MakeCameraParams();
          p.StopCapture({});
          p.StartCapture(params, {});
        }},
       {"StopCapture and StartCapture (desktop)", false,
        [](P& p) {
          p.StopCapture({});
          p.StartCapture(DesktopScreenParams{});
        }},
       {"StopCapture and StartCapture (mobile)", false,
        [](P& p) {
          p.StopCapture({});
          p.StartCapture(MobileScreenParams{});
        }},
       {"PauseCapture and ResumeCapture", true, [](P& p) {
          p.PauseCapture();
          p.ResumeCapture();
        }}});
}

void AddPreviewOperations(std::vector<ProducerOperation>& all) {
  all.insert(all.end(),
             {{"SetCameraFocusPosition", true, [](P& p) { p.SetCameraFocusPosition(0.5F, 0.5F); }},
              {"SetRenderView", false, [](P& p) { p.SetRenderView(view); }},
              {"SetRenderMirror", true, [](P& p) { p.SetRenderMirror(MirrorMode::kEnabled); }},
              {"SetRenderRotation", true, [](P& p) { p.SetRenderRotation(VideoRotation::k90); }},
              {"SetRenderBackgroundColor", true, [](P& p) { p.SetRenderBackgroundColor(0); }},
              {"SetFillMode", true, [](P& p) { p.SetFillMode(FillMode::kFit); }},
              {"SetGSensorMode", true, [](P& p) { p.SetGSensorMode(GSensorMode::kDisabled); }},
              {"SetOutputFrameAdaptiveMode", true,
               [](P& p) { p.SetOutputFrameAdaptiveMode(FrameAdaptiveMode::kCrop, false); }},
              {"SetCoverImageParams null", true, [](P& p) { p.SetCoverImageParams(nullptr); }},
              {"EnableCustomRendering on and off", false,
               [](P& p) {
                 p.EnableCustomRendering(true, PixelFormat::kI420, BufferType::kMemory, nullptr);
                 p.EnableCustomRendering(false, PixelFormat::kI420, BufferType::kMemory, nullptr);
               }},
              {"OnFocusAtPoint", true, [](P& p) { p.OnFocusAtPoint(1, 2, 3, 4); }},
              {"OnZoom", true, [](P& p) { p.OnZoom(1); }},
              {"OnRenderFirstFrame", false,
               [](P& p) { p.OnRenderFirstFrame(RenderEventReason::kFirstFrame, 640, 360); }},
              {"OnRenderError", true, [](P& p) { p.OnRenderError(VideoRenderError::kNone); }}});
}

void AddEncodingOperations(std::vector<ProducerOperation>& all) {
  all.insert(all.end(),
             {{"StopEncoder and StartEncoder", false,
               [](P& p) {
                 p.StopEncoder(kBig, 0);
                 p.StartEncoder(kBig, MakeEncodeParams(), frame_writer);
               }},
              {"SetEncoderParams unchanged", true,
               [](P& p) {
                 static const EncodeParams params = MakeEncodeParams();
                 p.SetEncoderParams(kBig, params);
               }},
              {"SetEncoderMirror", true, [](P& p) { p.SetEncoderMirror(true); }},
              {"SetEncoderRotation", true, [](P& p) { p.SetEncoderRotation(VideoRotation::k0); }},
              {"SetRpsNearestRefSize", true, [](P& p) { p.SetRpsNearestRefSize(kBig, 1); }},
              {"DeliverRpsAck", true, [](P& p) { p.DeliverRpsAck(kBig, {}); }},
              {"RequestKeyFrame", true, [](P& p) { p.RequestKeyFrame(kBig); }},
              {"SetRoiConfig", true, [](P& p) { p.SetRoiConfig(kBig, {}); }},
              {"OnEncoderNeededFormatChanged", true,
               [](P& p) {
                 p.OnEncoderNeededFormatChanged(kBig, PixelFormat::kI420, BufferType::kMemory);
               }},
              {"OnEncoderPropertyChanged", false,
               [](P& p) { p.OnEncoderPropertyChanged(kBig, property, property); }},
              {"OnEncodeAbilityChanged", true, [](P& p) { p.OnEncodeAbilityChanged(kBig, {}); }},
              {"OnEncoderError", true,
               [](P& p) { p.OnEncoderError(kBig, VideoEncoderError::kNone, error_detail); }}});
}

void AddTapOperations(std::vector<ProducerOperation>& all) {
  all.insert(
      all.end(),
      {{"EnableCustomProcessing", true,
        [](P& p) {
          p.EnableCustomProcessing(true, PixelFormat::kI420, BufferType::kMemory, nullptr);
        }},
       {"EnableCustomCapturing on and off", false,
        [](P& p) {
          p.EnableCustomCapturing(true);
          p.EnableCustomCapturing(false);
        }},
       {"SetCustomCaptureInputTrack", true, [](P& p) { p.SetCustomCaptureInputTrack(nullptr); }},
       {"AddVideoShuntTrack null", true,
        [](P& p) {
          p.AddVideoShuntTrack(InterceptPosition::kPreview, PixelFormat::kI420, BufferType::kMemory,
                               nullptr);
        }},
       {"RemoveVideoShuntTrack null", true, [](P& p) { p.RemoveVideoShuntTrack(nullptr); }},
       {"AddInterceptor", true,
        [](P& p) { p.AddInterceptor(InterceptPosition::kPreview, {}, {}); }},
       {"RemoveInterceptor", true, [](P& p) { p.RemoveInterceptor({}); }}});
}

void AddEffectOperations(std::vector<ProducerOperation>& all) {
  all.insert(all.end(),
             {{"SetWatermark", true, [](P& p) { p.SetWatermark(nullptr, 0, 0, 0, false); }},
              {"Snapshot", true, [](P& p) { p.Snapshot(SnapshotSourceType::kPreprocessor, {}); }},
              {"SetBeautyStyle", true, [](P& p) { p.SetBeautyStyle(BeautyStyle::kSmooth); }},
              {"SetBeautyLevel", true, [](P& p) { p.SetBeautyLevel(9); }},
              {"SetWhitenessLevel", true, [](P& p) { p.SetWhitenessLevel(9); }},
              {"SetRuddyLevel", true, [](P& p) { p.SetRuddyLevel(9); }},
              {"SetLUTColorFilter", true, [](P& p) { p.SetLUTColorFilter(nullptr); }},
              {"SetLUTColorFilterStrength", true, [](P& p) { p.SetLUTColorFilterStrength(1); }},
              {"SetLUTColorFilter (two)", true,
               [](P& p) { p.SetLUTColorFilter(nullptr, 1, nullptr, 1, 1); }},
              {"SetGreenScreenParams", true, [](P& p) { p.SetGreenScreenParams({}); }}});
}

void AddScreenOperations(std::vector<ProducerOperation>& all) {
  all.insert(
      all.end(),
      {{"GetScreenShareSourceList", true,
        [](P& p) { static_cast<void>(p.GetScreenShareSourceList({}, {})); }},
       {"AddExcludedShareWindow", true, [](P& p) { p.AddExcludedShareWindow(1); }},
       {"RemoveExcludedShareWindow", true, [](P& p) { p.RemoveExcludedShareWindow(1); }},
       {"RemoveAllExcludedShareWindow", true, [](P& p) { p.RemoveAllExcludedShareWindow(); }},
       {"AddIncludedShareWindow", true, [](P& p) { p.AddIncludedShareWindow(1); }},
       {"RemoveIncludedShareWindow", true, [](P& p) { p.RemoveIncludedShareWindow(1); }},
       {"RemoveAllIncludedShareWindow", true, [](P& p) { p.RemoveAllIncludedShareWindow(); }},
       {"OnScreenSharingError", true,
        [](P& p) { p.OnScreenSharingError(1, VideoScreenSharingError::kNone); }},
       {"OnScreenSharingStarted", true, [](P& p) { p.OnScreenSharingStarted(1); }},
       {"OnScreenSharingFirstFrame", true, [](P& p) { p.OnScreenSharingFirstFrame(1, 2); }},
       {"OnWindowCovered", true, [](P& p) { p.OnWindowCovered(1); }}});
}

}  // namespace

std::vector<ProducerOperation> AllProducerOperations() {
  std::vector<ProducerOperation> all;
  AddGeneralOperations(all);
  AddPreviewOperations(all);
  AddEncodingOperations(all);
  AddTapOperations(all);
  AddEffectOperations(all);
  AddScreenOperations(all);
  return all;
}

EncodeParams MakeEncodeParams() {
  EncodeParams params;
  params.width = 1280;
  params.height = 720;
  params.frame_rate = 30;
  return params;
}

CameraParams MakeCameraParams() {
  CameraParams params;
  params.camera_id = "a camera";
  params.frame_rate = 30;
  return params;
}

std::shared_ptr<VideoProducer2Impl> MakeProducer() {
  auto producer = std::make_shared<VideoProducer2Impl>(
      VideoContext(InstanceTrace(1), "[benchmark]"), client, kBig);
  producer->Initialize();
  producer->SetRenderView(view);
  producer->StartEncoder(kBig, MakeEncodeParams(), frame_writer);
  producer->StartEncoder(VideoStreamType::kSmall, MakeEncodeParams(), frame_writer);
  producer->StartCapture(MakeCameraParams(), {});
  return producer;
}

}  // namespace movra::benchmarks
