// Brings a camera of its own and takes everything else as it is: a whole application that defines
// one factory.
//
//   own_camera stripes:90 stripes.mp4     ninety pictures of the camera that is defined here
//   own_camera file:talk.mp4 talk-2.mp4   the cameras that there were before are still there

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

#include "core/run_loop.h"
#include "media/camera/camera_service_impl.h"
#include "media/camera/frame_marker.h"
#include "media/frame/frame_pool.h"
#include "media/output/encoded_file_writer.h"
#include "media/sources/source_kinds.h"
#include "video/producer/video_producer2_impl.h"

using movra::video::VideoStreamType;

namespace {

constexpr std::string_view kStripes = "stripes:";
constexpr movra::video::Size kSize{640, 360};
constexpr int kFrameRate = 30;

// The camera "stripes:N": N pictures of moving stripes. Scaling them to what is asked for, handing
// them on and the thread on which all this happens are the camera service's.
class StripesCamera final : public movra::media::FrameSource {
 public:
  explicit StripesCamera(std::uint64_t pictures) : pictures_(pictures) {}

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
    movra::video::PixelFrameInfo info;
    info.delivery = Policy().delivery;
    info.timestamp = std::chrono::nanoseconds(std::chrono::seconds(next_)) / kFrameRate;
    info.capture_time = std::chrono::steady_clock::now().time_since_epoch();
    info.sequence = next_;
    auto picture = pool_.Allocate(movra::video::PixelFormat::kI420, kSize, info);
    if (!picture) return movra::video::StreamEnd{.error_code = 1, .reason = "out of memory"};
    for (std::size_t plane = 0; plane < 3; ++plane) DrawStripes(picture, plane);
    movra::media::PaintFrameMarker(picture.plane(0), picture.stride(0), kSize,
                                   static_cast<std::uint32_t>(next_));
    ++next_;
    return movra::media::SourceFrame{std::move(picture).Finish(), kSize};
  }

  void Interrupt() override {}  // Nothing here waits.

 private:
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
  std::uint64_t next_ = 0;
  movra::media::FramePool pool_;
};

std::unique_ptr<movra::media::FrameSource> MakeSource(const std::string& camera_id) {
  if (!camera_id.starts_with(kStripes)) return movra::media::MakeFrameSource(camera_id);
  const char* const pictures = camera_id.c_str() + kStripes.size();
  return std::make_unique<StripesCamera>(std::strtoull(pictures, nullptr, 10));
}

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

  const auto loop = std::make_shared<core::RunLoop>();
  core::SetMainQueue(loop);

  std::string error;
  movra::media::EncodedFileWriterOptions output;
  output.path = argv[2];
  output.on_end = [&](const movra::video::StreamEnd&) { loop->Quit(); };
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

  movra::video::CameraParams camera;
  camera.camera_id = argv[1];
  producer->StartCapture(camera, movra_base::BindOnce([&](int error_code, int) {
                           if (error_code == 0) return;
                           error = "cannot start " + camera.camera_id;
                           loop->Quit();
                         }));
  loop->Run();  // Until the end mark has come out of the writer.

  producer->StopCapture({});
  producer->StopEncoder(VideoStreamType::kBig, 1000);
  producer->Uninitialize();
  writer->Close();
  core::SetMainQueue(nullptr);
  if (!error.empty()) std::fprintf(stderr, "%s\n", error.c_str());
  return error.empty() ? 0 : 1;
}
