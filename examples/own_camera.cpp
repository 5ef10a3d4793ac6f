// Brings a camera of its own and takes everything else as it is: a whole application that defines
// one factory.
//
//   own_camera stripes:90 stripes.mp4               ninety pictures of the camera defined here
//   own_camera 'stripes:90?fails=60' stripes.mp4    it fails after two seconds, and is told why
//   own_camera file:talk.mp4 talk-2.mp4             the cameras that there were are still there

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "core/location.h"
#include "core/notification_center.h"
#include "core/run_loop.h"
#include "logging/log_filter.h"
#include "logging/log_sink.h"
#include "media/camera/camera_service_impl.h"
#include "media/camera/frame_marker.h"
#include "media/capture/camera_error.h"
#include "media/capture/refused_source.h"
#include "media/capture/source_id.h"
#include "media/frame/frame_pool.h"
#include "media/output/encoded_file_writer.h"
#include "media/sources/source_kinds.h"
#include "video/producer/video_producer2_impl.h"

using movra::media::CameraError;
using movra::video::CaptureEnd;
using movra::video::CaptureEndKind;
using movra::video::VideoStreamType;

namespace {

constexpr std::string_view kStripes = "stripes:";
constexpr movra::video::Size kSize{640, 360};
constexpr int kFrameRate = 30;

// The camera "stripes:N": N pictures of moving stripes, or with "?fails=M" M of them. Scaling them
// to what is asked for, handing them on and the thread on which all this happens are the camera
// service's.
class StripesCamera final : public movra::media::FrameSource {
 public:
  StripesCamera(std::uint64_t pictures, std::uint64_t fails_at)
      : pictures_(pictures), fails_at_(fails_at) {}

  movra::video::CameraInfo Describe() override {
    movra::video::CameraInfo info;
    info.natural_size = kSize;
    info.rate_numerator = kFrameRate;
    info.traits.has_end = true;
    return info;
  }

  movra::video::CameraInfo Open(const movra::media::CaptureRequest&) override { return Describe(); }

  // As fast as they are taken, and none is lost. A device would say kLive and wait in Read.
  [[nodiscard]] movra::media::SourcePolicy Policy() const override {
    return {.delivery = movra::video::FrameDelivery::kLossless};
  }

  movra::media::SourceItem Read(const movra::media::CaptureRequest&) override {
    if (next_ == pictures_) return movra::video::StreamEnd{};
    if (next_ == fails_at_) return Failed(CameraError::kDeviceLost, "somebody pulled the plug");
    movra::video::PixelFrameInfo info;
    info.delivery = Policy().delivery;
    info.timestamp = std::chrono::nanoseconds(std::chrono::seconds(next_)) / kFrameRate;
    info.capture_time = std::chrono::steady_clock::now().time_since_epoch();
    info.sequence = next_;
    auto picture = pool_.Allocate(movra::video::PixelFormat::kI420, kSize, info);
    if (!picture) return Failed(CameraError::kNoResources, "no memory is left for a picture");
    for (std::size_t plane = 0; plane < 3; ++plane) DrawStripes(picture, plane);
    movra::media::PaintFrameMarker(picture.plane(0), picture.stride(0), kSize,
                                   static_cast<std::uint32_t>(next_));
    ++next_;
    return movra::media::SourceFrame{std::move(picture).Finish(), kSize};
  }

  void Interrupt() override {}  // Nothing here waits.

 private:
  // An end that is a failure; the text is for people.
  static movra::video::StreamEnd Failed(CameraError error, const std::string& text) {
    movra::video::StreamEnd end;
    end.error_code = static_cast<std::int32_t>(error);
    end.reason = text;
    return end;
  }

  void DrawStripes(movra::media::WritableFrame& picture, std::size_t plane) const {
    const int width = plane == 0 ? kSize.width : kSize.width / 2;
    const int height = plane == 0 ? kSize.height : kSize.height / 2;
    for (int y = 0; y < height; ++y) {
      std::uint8_t* const row = picture.plane(plane) + std::ptrdiff_t{y} * picture.stride(plane);
      const auto phase = static_cast<int>(next_ % 64);
      for (int x = 0; x < width; ++x) row[x] = (x + phase) / 32 % 2 == 0 ? 100 : 156;
    }
  }

  const std::uint64_t pictures_;
  const std::uint64_t fails_at_;
  std::uint64_t next_ = 0;
  movra::media::FramePool pool_;
};

std::unique_ptr<movra::media::FrameSource> MakeSource(const std::string& camera_id) {
  if (!camera_id.starts_with(kStripes)) return movra::media::MakeFrameSource(camera_id);
  const auto id = movra::media::ParseSourceId(std::string_view(camera_id).substr(kStripes.size()));
  const std::uint64_t pictures = std::strtoull(id.address.c_str(), nullptr, 10);
  std::uint64_t fails_at = pictures;
  for (const movra::media::SourceOption& option : id.options) {
    if (option.name != "fails" || !option.value) {
      return std::make_unique<movra::media::RefusedSource>(
          CameraError::kBadOption, "the stripes have no option '" + option.name + "': use fails=N");
    }
    fails_at = std::strtoull(option.value->c_str(), nullptr, 10);
  }
  return std::make_unique<StripesCamera>(pictures, fails_at);
}

// Hears on the main queue what became of a capture that nobody stopped.
class CameraWatch {
 public:
  explicit CameraWatch(std::shared_ptr<core::RunLoop> loop) : loop_(std::move(loop)) {}

  void OnCaptureEnded(const CaptureEnd& end) {
    if (end.text.empty()) return;  // The natural end.
    const bool has_started = end.kind != CaptureEndKind::kNotStarted;
    error_ = has_started ? end.camera_id + " broke off: " : "cannot start " + end.camera_id + ": ";
    error_ += end.text;
    // What was taken of one that ended is still on its way, and the writer hears of its end.
    if (end.kind != CaptureEndKind::kEnded) loop_->Quit();
  }
  [[nodiscard]] const std::string& error() const { return error_; }

 private:
  const std::shared_ptr<core::RunLoop> loop_;
  std::string error_;
};

class StandardErrorSink final : public movra_logging::LogSink {
 public:
  StandardErrorSink() { movra_logging::AddLogSink(this); }
  ~StandardErrorSink() override { movra_logging::RemoveLogSink(this); }
  // On the thread that logs, so on several at once.
  void Send(const movra_logging::LogRecord& record) override {
    const std::string line = "log: " + std::string(record.text) + "\n";
    std::fputs(line.c_str(), stderr);
  }
};

}  // namespace

// The factory of the camera service. The library has one too, in an object file of its own that the
// linker leaves out because this one is there already.
template <>
std::shared_ptr<void> core::ServiceCenter::MakeService<movra::video::ICameraService>() {
  movra::media::CameraServiceParts parts = movra::media::DefaultCameraServiceParts();
  parts.make_source = MakeSource;
  return std::shared_ptr<movra::video::ICameraService>(
      std::make_shared<movra::media::CameraServiceImpl>(parts));
}

int main(int argc, char** argv) {
  if (argc != 3) return std::fprintf(stderr, "usage: own_camera CAMERA OUTPUT.mp4\n"), 2;

  const StandardErrorSink sink;
  movra_logging::SetMinLogLevel(movra_logging::kLogLevelWarning);
  movra::SetLogValueFiltering(true);  // A line that repeats with the same numbers is left out.

  const auto loop = std::make_shared<core::RunLoop>();
  core::SetMainQueue(loop);

  std::string error;
  movra::media::EncodedFileWriterOptions output;
  output.path = argv[2];
  // Posted, so that what the camera has to say comes first.
  output.on_end = [&](const movra::video::StreamEnd&) {
    loop->Post(movra_base::BindOnce([&] { loop->Quit(); }));
  };
  output.on_error = [&](const movra::media::WriteError& failed) {
    error = failed.text;
    loop->Quit();
  };
  const auto writer = movra::media::EncodedFileWriter::Create(output, &error);
  if (writer == nullptr) return std::fprintf(stderr, "%s\n", error.c_str()), 1;

  const auto producer = std::make_shared<movra::video::VideoProducer2Impl>(
      movra::video::VideoContext(movra::InstanceTrace(1), ""), nullptr, VideoStreamType::kBig);
  producer->Initialize();
  movra::video::EncodeParams encode;
  encode.width = kSize.width;
  encode.height = kSize.height;
  encode.frame_rate = kFrameRate;
  encode.bitrate_bps = 600'000;
  producer->StartEncoder(VideoStreamType::kBig, encode, writer);

  const auto watch = std::make_shared<CameraWatch>(loop);
  core::SubscribeEvent<std::function<void(const CaptureEnd&)>>(
      movra::video::kCaptureEndedNotification, "", core::Location(__FILE__, __LINE__), watch,
      &CameraWatch::OnCaptureEnded);

  movra::video::CameraParams camera;
  camera.camera_id = argv[1];
  producer->StartCapture(camera, {});
  loop->Run();  // Until the end mark has come out of the writer, or the camera has failed.

  producer->StopCapture({});
  producer->StopEncoder(VideoStreamType::kBig, 1000);
  producer->Uninitialize();
  writer->Close();
  core::SetMainQueue(nullptr);
  if (error.empty()) error = watch->error();
  if (!error.empty()) std::fprintf(stderr, "%s\n", error.c_str());
  return error.empty() ? 0 : 1;
}
