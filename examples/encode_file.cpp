// Encodes a video file into one H.264 stream: a whole application around the producer.
//
//   encode_file talk.mov talk.mp4

#include <cstdio>

#include "media/application/application.h"
#include "media/output/encoded_file_writer.h"
#include "media/sources/source_kinds.h"
#include "video/producer/video_producer2_impl.h"

using namespace movra;
constexpr auto kBig = video::VideoStreamType::kBig;

int main(int argc, char** argv) {
  if (argc != 3) return std::fprintf(stderr, "usage: encode_file VIDEO OUTPUT.mp4\n"), 2;

  // All producer state lives on the main queue, `app.main_queue()`, which this thread runs below.
  // What is done before and behind the run is done by the same thread.
  media::Application app;

  // The writer is ours. It is called on the encoder's thread, and so are its callbacks.
  const auto writer = media::EncodedFileWriter::Create(
      {.path = argv[2],
       .on_error = [&](const media::WriteError& failed) { app.Quit(failed.text); },
       .on_end = [&](const video::StreamEnd& end) { app.Quit(end.reason); }});
  if (writer == nullptr) return app.Finish();

  const auto producer = std::make_shared<video::VideoProducer2Impl>(
      video::VideoContext(InstanceTrace(1), ""), nullptr, kBig);
  producer->Initialize();

  // The encoder first, so that the first frame finds it.
  producer->StartEncoder(kBig, {.width = 640, .height = 360, .bitrate_bps = 600'000}, writer);
  producer->StartCapture({.camera_id = media::FileSourceId(argv[1])},
                         movra_base::BindOnce([&](int error_code, int) {
                           if (error_code != 0) app.Quit("cannot play " + std::string(argv[1]));
                         }));
  app.Run();  // Until the end mark has come out of the writer, or until Ctrl-C.

  producer->StopCapture({});
  producer->StopEncoder(kBig, 1000);
  producer->Uninitialize();
  writer->Close();
  return app.Finish();
}
