// Draws into every frame and saves a picture of each second: a whole application with code of its
// own on the road of a frame.
//
//   draw_and_save file:talk.mp4 drawn.mp4 pictures/talk-     pictures/talk-0.ppm, talk-1.ppm ...

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <future>

#include "core/serial_queue.h"
#include "media/application/application.h"
#include "media/frame/frame_pool.h"
#include "media/output/encoded_file_writer.h"
#include "video/producer/video_producer2_impl.h"

using namespace movra;
constexpr auto kBig = video::VideoStreamType::kBig;

// A white bar at the lower edge that grows by two pixels with each frame, on black.
class BarPainter final : public video::VideoInterceptorListener {
 public:
  video::PixelFrame OnInterceptFrame(video::InterceptPosition, video::PixelFrame frame) override {
    auto picture = media::WritableFrame::Of(std::move(frame), pool_);  // Moved: drawn in place.
    if (!picture) return {};
    const auto [width, height] = picture.info().size;
    const auto bar = static_cast<int>(picture.info().sequence * 2 % 640) * width / 640;
    for (int y = height - height / 16; y < height; ++y) {
      std::uint8_t* const row = picture.plane(0) + std::ptrdiff_t{y} * picture.stride(0);
      std::fill(std::fill_n(row, bar, 235), row + width, 16);
    }
    return std::move(picture).Finish();
  }

 private:
  media::FramePool pool_;
};

// Frames come on the preprocessor queue, which must not wait for a disk: the queue here may.
class PictureSaver final : public video::IPixelFrameTrackWriter {
 public:
  explicit PictureSaver(std::string prefix) : prefix_(std::move(prefix)) {}

  video::TrackWriteResult Write(video::PixelFrame frame) override {
    if (frame.info().timestamp >= std::chrono::seconds(second_)) {
      const std::string path = prefix_ + std::to_string(second_++) + ".ppm";
      disk_.Post(movra_base::BindOnce(&Save, path, std::move(frame)));  // A share, no copy.
    }
    return video::TrackWriteResult::kAccepted;
  }

  // Waits for the pictures that are being saved.
  void Finish() {
    std::promise<void> saved;
    disk_.Post(movra_base::BindOnce([&] { saved.set_value(); }));
    saved.get_future().wait();
  }

 private:
  static void Save(const std::string& path, const video::PixelFrame& frame) {
    const auto& [data, stride] = frame.info().planes[0];
    const auto [width, height] = frame.info().size;
    std::ofstream file(path, std::ios::binary);
    file << "P6\n" << width << " " << height << "\n255\n";
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) {
        file.write(reinterpret_cast<const char*>(data) + std::ptrdiff_t{y} * stride + x * 4, 3);
      }
    }
    if (!file.flush()) std::fprintf(stderr, "cannot write %s\n", path.c_str());
  }

  const std::string prefix_;
  int second_ = 0;  // The next picture's. Of the preprocessor queue.
  core::SerialQueue disk_{"pictures"};
};

int main(int argc, char** argv) {
  if (argc != 4) return std::fprintf(stderr, "usage: draw_and_save CAMERA OUTPUT.mp4 PREFIX\n"), 2;

  media::Application app;
  const auto writer = media::EncodedFileWriter::Create(
      {.path = argv[2],
       .on_error = [&](const media::WriteError& failed) { app.Quit(failed.text); },
       .on_end = [&](const video::StreamEnd& end) { app.Quit(end.reason); }});
  if (writer == nullptr) return app.Finish();

  const auto producer = std::make_shared<video::VideoProducer2Impl>(
      video::VideoContext(InstanceTrace(1), ""), nullptr, kBig);
  producer->Initialize();

  // Both are held weakly. A tap takes the frames as they are at its position: this one is behind
  // the painter, one at kCaptured would not have the bar.
  const auto painter = std::make_shared<BarPainter>();
  producer->AddInterceptor(video::InterceptPosition::kCustomProcessing,
                           {.pixel_format = video::PixelFormat::kI420}, painter);
  const auto saver = std::make_shared<PictureSaver>(argv[3]);
  producer->AddVideoShuntTrack(video::InterceptPosition::kPreview, video::PixelFormat::kRGBA,
                               video::BufferType::kMemory, saver);

  producer->StartEncoder(kBig, {.width = 640, .height = 360, .bitrate_bps = 600'000}, writer);
  producer->StartCapture({.camera_id = argv[1]}, movra_base::BindOnce([&](int error_code, int) {
                           if (error_code != 0) app.Quit("cannot play " + std::string(argv[1]));
                         }));
  app.Run();  // Until the end mark has come out of the writer, or until Ctrl-C.

  producer->StopCapture({});
  producer->StopEncoder(kBig, 1000);
  producer->Uninitialize();
  saver->Finish();
  writer->Close();
  return app.Finish();
}
