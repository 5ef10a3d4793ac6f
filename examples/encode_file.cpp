// Encodes a video file into one H.264 stream: a whole application around the producer.
//
//   encode_file talk.mov talk.mp4

#include <cstdio>
#include <memory>
#include <string>

#include "core/run_loop.h"
#include "media/output/encoded_file_writer.h"
#include "media/sources/source_kinds.h"
#include "video/producer/video_producer2_impl.h"

using movra::video::VideoStreamType;

int main(int argc, char** argv) {
  if (argc != 3) return std::fprintf(stderr, "usage: encode_file VIDEO OUTPUT.mp4\n"), 2;

  // All producer state lives on the main queue, which this thread runs below.
  const auto loop = std::make_shared<core::RunLoop>();
  core::SetMainQueue(loop);

  // The writer is ours. It is called on the encoder's thread, and so are its callbacks.
  std::string error;
  movra::media::EncodedFileWriterOptions output;
  output.path = argv[2];
  output.format = movra::media::ContainerFormat::kMp4;
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

  // The encoder first, so that the first frame finds it.
  movra::video::EncodeParams encode;
  encode.width = 640;
  encode.height = 360;
  encode.frame_rate = 30;
  encode.bitrate_bps = 600'000;
  producer->StartEncoder(VideoStreamType::kBig, encode, writer);

  movra::video::CameraParams camera;
  camera.camera_id = movra::media::FileSourceId(argv[1]);
  producer->StartCapture(camera, movra_base::BindOnce([&](int error_code, int) {
                           if (error_code == 0) return;
                           error = "cannot play " + camera.camera_id;
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
