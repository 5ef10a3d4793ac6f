// Encodes pictures that the application makes itself: a whole application that pushes its frames.
//
//   push_frames 90 pictures.mp4              30 a second
//   push_frames 90 pictures.mp4 40 250 10    so many milliseconds after each other, in turn

#include <cstdio>
#include <thread>
#include <vector>

#include "media/application/application.h"
#include "media/camera/frame_marker.h"
#include "media/output/encoded_file_writer.h"
#include "media/track/frame_pusher.h"
#include "video/producer/video_producer2_impl.h"

using namespace movra;
constexpr video::Size kSize{640, 360};

// A frame is a description of planes and a share in whatever owns their memory, here a vector. Its
// samples must not change any more, so each picture has a vector of its own.
video::PixelFrame MakePicture(std::uint32_t number, std::chrono::nanoseconds time) {
  const auto samples = std::make_shared<std::vector<std::uint8_t>>(640 * 360 * 3 / 2, 128);
  media::PaintFrameMarker(samples->data(), kSize.width, kSize, number);
  auto info = video::PixelFrameInfo::For(video::PixelFormat::kI420, kSize, *samples);
  info.timestamp = time;
  return {info, samples};
}

int main(int argc, char** argv) {
  if (argc < 3) return std::fprintf(stderr, "usage: push_frames COUNT OUTPUT.mp4 [MS...]\n"), 2;
  const std::size_t count = std::stoul(argv[1]);
  std::vector<std::chrono::nanoseconds> distances;
  for (int i = 3; i < argc; ++i) distances.push_back(std::chrono::milliseconds(std::stoi(argv[i])));
  if (distances.empty())
    distances.push_back(std::chrono::nanoseconds(std::chrono::seconds(1)) / 30);

  // All producer state lives on the main queue, `app.main_queue()`, which this thread runs below.
  media::Application app;
  const auto writer = media::EncodedFileWriter::Create(
      {.path = argv[2],
       .on_error = [&](const media::WriteError& failed) { app.Quit(failed.text); },
       .on_end = [&](const video::StreamEnd& end) { app.Quit(end.reason); }});
  if (writer == nullptr) return app.Finish();

  const auto producer = std::make_shared<video::VideoProducer2Impl>(
      video::VideoContext(InstanceTrace(1), ""), nullptr, video::VideoStreamType::kBig);
  producer->Initialize();
  producer->StartEncoder(video::VideoStreamType::kBig, {.width = 640, .height = 360}, writer);

  // Enabled first, then connected.
  const auto track = video::IPixelFrameTrack::Create("pictures", 2);
  producer->EnableCustomCapturing(true);
  producer->SetCustomCaptureInputTrack(track->GetReader());

  // A push waits while the track is full, so it has a thread of its own.
  media::FramePusher pusher(track->GetWriter());
  const std::jthread thread([&] {
    std::chrono::nanoseconds time{0};
    for (std::uint32_t i = 0; i < count && pusher.Push(MakePicture(i, time)); ++i) {
      time += distances[i % distances.size()];
    }
    pusher.End();  // Travels behind the last picture into the file.
  });
  app.Run();      // Until the end mark has come out of the writer, or until Ctrl-C.
  pusher.Stop();  // Lets go of a push that waits.

  producer->StopCapture({});
  producer->StopEncoder(video::VideoStreamType::kBig, 1000);
  producer->Uninitialize();
  writer->Close();
  return app.Finish();
}
