// Encodes pictures that the application makes itself: a whole application that pushes its frames.
//
//   push_frames 90 pictures.mp4

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <semaphore>
#include <string>
#include <thread>
#include <vector>

#include "core/run_loop.h"
#include "media/camera/frame_marker.h"
#include "media/output/encoded_file_writer.h"
#include "video/producer/video_producer2_impl.h"

using movra::video::IPixelFrameTrack;
using movra::video::PixelFrame;
using movra::video::TrackWriteResult;
using movra::video::VideoStreamType;

namespace {

constexpr movra::video::Size kSize{640, 360};
constexpr int kFrameRate = 30;

// A frame is a description of planes and a share in whatever owns their memory, here a vector. Its
// samples must not change any more, so each picture has a vector of its own.
PixelFrame MakePicture(int number) {
  constexpr std::size_t kLuma = std::size_t{kSize.width} * kSize.height;
  const auto samples =
      std::make_shared<std::vector<std::uint8_t>>(kLuma * 3 / 2, std::uint8_t{128});
  movra::media::PaintFrameMarker(samples->data(), kSize.width, kSize,
                                 static_cast<std::uint32_t>(number));
  movra::video::PixelFrameInfo info;
  info.format = movra::video::PixelFormat::kI420;
  info.size = kSize;
  info.planes = {{{samples->data(), kSize.width},
                  {samples->data() + kLuma, kSize.width / 2},
                  {samples->data() + kLuma * 5 / 4, kSize.width / 2}}};
  info.delivery = movra::video::FrameDelivery::kLossless;  // kLive: the newest picture wins.
  info.timestamp = std::chrono::nanoseconds(std::chrono::seconds(number)) / kFrameRate;
  info.capture_time = std::chrono::steady_clock::now().time_since_epoch();
  info.sequence = static_cast<std::uint64_t>(number);
  return {info, samples};
}

// Pushes on a thread of the application. No operation of a track waits: one that is full says so,
// and calls back when there is room.
class Pusher {
 public:
  Pusher(const std::shared_ptr<IPixelFrameTrack>& track, int count)
      : writer_(track->GetWriter()), thread_([this, count] { Push(count); }) {}

  ~Pusher() {
    stopping_ = true;
    room_.release();
    thread_.join();
    writer_->SetRoomCallback({});
  }

 private:
  void Push(int count) {
    writer_->SetRoomCallback([this] { room_.release(); });
    for (int number = 0; number < count && !stopping_; ++number) {
      const PixelFrame picture = MakePicture(number);
      while (!stopping_ && writer_->Write(picture) == TrackWriteResult::kFull) room_.acquire();
    }
    writer_->WriteEnd({});  // Travels behind the last picture into the file.
  }

  const std::shared_ptr<movra::video::IPixelFrameTrackWriter> writer_;
  std::counting_semaphore<> room_{0};
  std::atomic<bool> stopping_ = false;
  std::thread thread_;  // Last, so that it finds everything else.
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return std::fprintf(stderr, "usage: push_frames COUNT OUTPUT.mp4\n"), 2;

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

  // Enabled first, then connected.
  const auto track = IPixelFrameTrack::Create("pictures", 2);
  producer->EnableCustomCapturing(true);
  producer->SetCustomCaptureInputTrack(track->GetReader());
  {
    const Pusher pusher(track, std::atoi(argv[1]));
    loop->Run();  // Until the end mark has come out of the writer.
  }

  producer->StopCapture({});
  producer->StopEncoder(VideoStreamType::kBig, 1000);
  producer->Uninitialize();
  writer->Close();
  core::SetMainQueue(nullptr);
  if (!error.empty()) std::fprintf(stderr, "%s\n", error.c_str());
  return error.empty() ? 0 : 1;
}
