// Changes size and bit rate while the stream runs, and tells what becomes of it: a whole
// application that steers its encoder.
//
//   change_parameters test: changed.mp4

#include <cinttypes>
#include <cstdio>
#include <vector>

#include "media/application/application.h"
#include "media/output/encoded_file_writer.h"
#include "video/producer/client_base.h"
#include "video/producer/video_producer2_impl.h"
#include "video/to_string.h"

using namespace movra;
constexpr auto kBig = video::VideoStreamType::kBig;
constexpr std::uint32_t kFramesBetween = 30;

// Absent fields stay as they are.
const std::vector<video::EncodeParams> kChanges{
    {.bitrate_bps = 900'000},
    {.width = 320, .height = 180, .bitrate_bps = 300'000},
    {.width = 321, .height = 181, .bitrate_bps = 100'000},  // Refused as a whole: odd.
};

class EventPrinter final : public video::ClientBase {
 public:
  void OnEncoderPropertyChanged(video::IVideoProducer2*, video::VideoStreamType,
                                const video::EncoderProperty&, const video::EncoderProperty& to,
                                const EventMsg&) override {
    std::printf("event: %" PRId64 "x%" PRId64 " by %s\n", to.size >> 32, to.size & 0xffffffff,
                to.implementation.c_str());
  }
  void OnEncoderError(video::IVideoProducer2*, video::VideoStreamType,
                      video::VideoEncoderError error, const movra_base::Value& detail) override {
    std::printf("event: %s, %s\n", video::VideoEncoderErrorToString(error).c_str(),
                detail.ToString().c_str());
  }
};

// Makes one change after the other. On the main queue, all of it.
class Controller : public std::enable_shared_from_this<Controller> {
 public:
  Controller(media::Application& app, std::shared_ptr<video::IVideoProducer2> producer)
      : app_(app), producer_(std::move(producer)) {}

  void Look() {
    const video::EncoderStatsRecord stats = producer_->GetStats(kBig).encoder_stats;
    if (stats.frames_encoded < change_at_) return LookLater();
    // Posted, so that the events of these frames are told before.
    app_.main_queue()->Post(movra_base::BindOnce(&Controller::Change, weak_from_this(), stats));
  }

 private:
  void LookLater() {
    app_.main_queue()->PostDelayed(movra_base::BindOnce(&Controller::Look, weak_from_this()),
                                   std::chrono::milliseconds(100));
  }

  void Change(const video::EncoderStatsRecord& stats) {
    std::printf("%u frames, now %ux%u, %u bits per second\n", stats.frames_encoded, stats.width,
                stats.height, stats.target_bitrate_bps);
    change_at_ = stats.frames_encoded + kFramesBetween;
    if (next_ == kChanges.size()) return app_.Quit();
    producer_->SetEncoderParams(kBig, kChanges[next_++]);
    LookLater();
  }

  media::Application& app_;
  const std::shared_ptr<video::IVideoProducer2> producer_;
  std::size_t next_ = 0;
  std::uint32_t change_at_ = kFramesBetween;
};

int main(int argc, char** argv) {
  if (argc != 3) return std::fprintf(stderr, "usage: change_parameters CAMERA OUTPUT.mp4\n"), 2;

  media::Application app;
  const auto writer = media::EncodedFileWriter::Create(
      {.path = argv[2],
       .on_error = [&](const media::WriteError& failed) { app.Quit(failed.text); },
       .on_end = [&](const video::StreamEnd& end) { app.Quit(end.reason); }});
  if (writer == nullptr) return app.Finish();

  // Held weakly by the producer, like the writer.
  const auto printer = std::make_shared<EventPrinter>();
  const auto producer = std::make_shared<video::VideoProducer2Impl>(
      video::VideoContext(InstanceTrace(1), ""), printer, kBig);
  producer->Initialize();
  producer->StartEncoder(kBig, {.width = 640, .height = 360, .bitrate_bps = 600'000}, writer);
  producer->StartCapture({.camera_id = argv[1]}, movra_base::BindOnce([&](int error_code, int) {
                           if (error_code != 0) app.Quit("cannot play " + std::string(argv[1]));
                         }));
  const auto controller = std::make_shared<Controller>(app, producer);
  controller->Look();
  app.Run();  // Until the last change has been looked at, the source has ended, or Ctrl-C.

  producer->StopCapture({});
  producer->StopEncoder(kBig, 1000);
  producer->Uninitialize();
  writer->Close();
  return app.Finish();
}
