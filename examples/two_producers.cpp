// Two streams at once, of two cameras or of one that both share: a whole application with two
// producers.
//
//   two_producers test: a.mp4 test: b.mp4           one camera, until Ctrl-C
//   two_producers file:talk.mp4 a.mp4 test: b.mp4   two

#include <array>
#include <cstdio>

#include "media/application/application.h"
#include "media/output/encoded_file_writer.h"
#include "video/producer/video_producer2_impl.h"

using namespace movra;
constexpr auto kBig = video::VideoStreamType::kBig;

struct Stream {
  std::string camera{};
  std::shared_ptr<media::EncodedFileWriter> writer{};
  std::shared_ptr<video::IVideoProducer2> producer{};
};

int main(int argc, char** argv) {
  if (argc != 5) return std::fprintf(stderr, "usage: two_producers CAMERA A.mp4 CAMERA B.mp4\n"), 2;

  media::Application app;
  std::array<Stream, 2> streams{Stream{.camera = argv[1]}, Stream{.camera = argv[3]}};

  // A writer is called on the thread of its encoder, so the count is kept on the main queue.
  std::size_t running = streams.size();
  const auto on_end = [&](const video::StreamEnd& end) {
    if (end.error_code != 0) return app.Quit(end.reason);
    app.main_queue()->Post(movra_base::BindOnce([&] {
      if (--running == 0) app.Quit();
    }));
  };
  for (std::size_t i = 0; i < streams.size(); ++i) {
    streams[i].writer = media::EncodedFileWriter::Create(
        {.path = argv[2 * i + 2],
         .on_error = [&](const media::WriteError& failed) { app.Quit(failed.text); },
         .on_end = on_end});
    if (streams[i].writer == nullptr) return app.Finish();
  }

  // The trace tells their lines in the log from each other.
  for (std::uint64_t trace = 1; Stream & stream : streams) {
    stream.producer = std::make_shared<video::VideoProducer2Impl>(
        video::VideoContext(InstanceTrace(trace++), ""), nullptr, kBig);
    stream.producer->Initialize();
    stream.producer->StartEncoder(kBig, {.width = 640, .height = 360}, stream.writer);
    stream.producer->StartCapture({.camera_id = stream.camera},
                                  movra_base::BindOnce([&](int error_code, int) {
                                    if (error_code != 0) app.Quit("cannot play " + stream.camera);
                                  }));
  }
  app.Run();  // Until both have ended, or until Ctrl-C.

  // All captures first: what still runs would take the processors from what ends.
  for (Stream& stream : streams) stream.producer->StopCapture({});
  for (Stream& stream : streams) {
    stream.producer->StopEncoder(kBig, 1000);
    stream.producer->Uninitialize();
    stream.writer->Close();
  }
  return app.Finish();
}
