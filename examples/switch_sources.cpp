// Plays one source after the other into one file: a whole application whose source changes.
//
//   switch_sources all.mp4 file:talk.mp4 'test:?frames=60&lossless' file:questions.mp4

#include <cstdio>
#include <vector>

#include "core/notification_center.h"
#include "media/application/application.h"
#include "media/output/encoded_file_writer.h"
#include "video/camera_service.h"
#include "video/producer/video_producer2_impl.h"

using namespace movra;
constexpr auto kBig = video::VideoStreamType::kBig;

// Which source is next. On the main queue, all of it.
class Playlist {
 public:
  Playlist(media::Application& app, std::shared_ptr<video::IVideoProducer2> producer,
           std::vector<std::string> ids)
      : app_(app), producer_(std::move(producer)), ids_(std::move(ids)) {}

  // The encoder goes on meanwhile, and makes the first frame of each source a key frame.
  void PlayNext() {
    producer_->StopCapture({});
    if (next_ == ids_.size()) return app_.Quit(failure_);
    producer_->StartCapture({.camera_id = ids_[next_++]}, {});
  }

  // Stopped here, a source that has ended would lose the frames that are still on their way to the
  // file: behind those comes its end mark. One that did not begin, or was lost, has none.
  void OnCaptureEnded(const video::CaptureEnd& end) {
    if (failure_.empty() && !end.text.empty()) failure_ = end.camera_id + ": " + end.text;
    if (end.kind != video::CaptureEndKind::kEnded) PlayNext();
  }

 private:
  media::Application& app_;
  const std::shared_ptr<video::IVideoProducer2> producer_;
  const std::vector<std::string> ids_;
  std::size_t next_ = 0;
  std::string failure_;  // The first one; the others are played all the same.
};

int main(int argc, char** argv) {
  if (argc < 3) return std::fprintf(stderr, "usage: switch_sources OUTPUT.mp4 CAMERA...\n"), 2;

  media::Application app;
  const auto producer = std::make_shared<video::VideoProducer2Impl>(
      video::VideoContext(InstanceTrace(1), ""), nullptr, kBig);
  const auto playlist =
      std::make_shared<Playlist>(app, producer, std::vector<std::string>(argv + 2, argv + argc));
  core::SubscribeEvent<std::function<void(const video::CaptureEnd&)>>(
      video::kCaptureEndedNotification, "", core::Location(__FILE__, __LINE__), playlist,
      &Playlist::OnCaptureEnded);

  // The end of a source does not finish the file, which is told of each.
  const auto writer = media::EncodedFileWriter::Create(
      {.path = argv[1],
       .stays_open = true,
       .on_error = [&](const media::WriteError& failed) { app.Quit(failed.text); },
       .on_end =
           [&](const video::StreamEnd&) {
             app.main_queue()->Post(movra_base::BindOnce(&Playlist::PlayNext, playlist));
           }});
  if (writer == nullptr) return app.Finish();

  producer->Initialize();
  producer->StartEncoder(kBig, {.width = 640, .height = 360, .bitrate_bps = 600'000}, writer);
  playlist->PlayNext();
  app.Run();  // Until the last one has ended, or until Ctrl-C.

  producer->StopCapture({});
  producer->StopEncoder(kBig, 1000);
  producer->Uninitialize();
  writer->Close();
  return app.Finish();
}
