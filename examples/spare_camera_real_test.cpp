// A test of an application with the real parts: pictures are made, scaled and encoded, and only the
// cameras are the test's own. So it runs on any machine, and what comes out is known.

#include "spare_camera.h"

#include <gtest/gtest.h>

#include "core/service_center.h"
#include "media/application/application.h"
#include "media/camera/camera_service_impl.h"
#include "media/capture/camera_error.h"
#include "media/capture/refused_source.h"
#include "media/sources/source_kinds.h"
#include "video/producer/video_producer2_impl.h"

using namespace movra;
constexpr auto kBig = video::VideoStreamType::kBig;

// "desk" is in use, and any other camera gives thirty pictures, none of which is lost.
std::unique_ptr<media::FrameSource> MakeCamera(const std::string& id) {
  if (id != "desk") return media::MakeFrameSource("test:?frames=30&size=320x180&lossless");
  return std::make_unique<media::RefusedSource>(media::CameraError::kBusy, "the desk's is in use");
}

class CountingWriter final : public video::IVideoFrameTrackWriter {
 public:
  explicit CountingWriter(media::Application& app) : app_(app) {}
  // Both on the encoder's thread, the end behind everything else.
  void Write(const video::EncodedFrame& /*frame*/) override { ++count_; }
  void WriteEnd(const video::StreamEnd& end) override { app_.Quit(end.reason); }
  [[nodiscard]] int count() const { return count_; }

 private:
  media::Application& app_;
  int count_ = 0;
};

TEST(StartWithSpare, EncodesThePicturesOfTheSpareCamera) {
  media::Application app;
  auto parts = media::DefaultCameraServiceParts();
  parts.make_source = MakeCamera;
  core::ServiceCenter::Instance().SetService(video::kCameraServiceId,
                                             std::make_shared<media::CameraServiceImpl>(parts));

  const auto writer = std::make_shared<CountingWriter>(app);
  const auto producer = std::make_shared<video::VideoProducer2Impl>(
      video::VideoContext(InstanceTrace(1), ""), nullptr, kBig);
  producer->Initialize();
  producer->StartEncoder(kBig, {.width = 320, .height = 180}, writer);
  StartWithSpare(producer, "desk", "spare");
  app.Run();  // Until the end mark has come out of the encoder.
  producer->StopCapture({});
  producer->StopEncoder(kBig, 1000);
  producer->Uninitialize();
  EXPECT_EQ(writer->count(), 30);
  EXPECT_EQ(app.failure(), "");
}
