// How long the main queue is busy with taking many producers down that have more to do than the
// machine can.
//
//   teardown PRODUCERS [SECONDS]
//
// Twice: one producer after the other, and all captures first.
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "core/run_loop.h"
#include "core/service_center.h"
#include "video/producer/video_producer2_impl.h"
#include "video/video_frame_track.h"

namespace {

using movra::video::CameraParams;
using movra::video::EncodeParams;
using movra::video::VideoProducer2Impl;
using movra::video::VideoStreamType;
using std::chrono::steady_clock;

class CountingWriter final : public movra::video::IVideoFrameTrackWriter {
 public:
  void Write(const movra::video::EncodedFrame& /*frame*/) override { ++frames_; }
  [[nodiscard]] std::uint64_t frames() const { return frames_; }

 private:
  std::atomic<std::uint64_t> frames_ = 0;
};

double SecondsSince(steady_clock::time_point start) {
  return std::chrono::duration<double>(steady_clock::now() - start).count();
}

std::shared_ptr<VideoProducer2Impl> StartProducer(const std::shared_ptr<CountingWriter>& writer) {
  const auto producer = std::make_shared<VideoProducer2Impl>(
      movra::video::VideoContext(movra::InstanceTrace(1), ""), nullptr, VideoStreamType::kBig);
  producer->Initialize();
  EncodeParams encode;
  encode.width = 1280;
  encode.height = 720;
  encode.frame_rate = 30;
  producer->StartEncoder(VideoStreamType::kBig, encode, writer);
  CameraParams camera;
  camera.camera_id = "test:?size=1280x720";
  producer->StartCapture(camera, {});
  return producer;
}

void Measure(int count, std::chrono::seconds running, bool captures_first) {
  const auto loop = std::make_shared<core::RunLoop>();
  core::SetMainQueue(loop);
  const auto writer = std::make_shared<CountingWriter>();
  loop->Post(movra_base::BindOnce([&] {
    std::vector<std::shared_ptr<VideoProducer2Impl>> producers;
    for (int i = 0; i < count; ++i) producers.push_back(StartProducer(writer));
    std::this_thread::sleep_for(running);
    const auto start = steady_clock::now();
    if (captures_first) {
      for (const auto& producer : producers) producer->StopCapture({});
    }
    for (auto& producer : producers) {
      producer->StopCapture({});
      producer->Uninitialize();
      producer.reset();
    }
    std::printf("%-28s %7.3f s  (%llu pictures encoded before)\n",
                captures_first ? "all captures first" : "one after the other", SecondsSince(start),
                static_cast<unsigned long long>(writer->frames()));
    loop->Quit();
  }));
  loop->Run();
  core::ServiceCenter::Instance().Clear();
  core::SetMainQueue(nullptr);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return std::fprintf(stderr, "usage: teardown PRODUCERS [SECONDS]\n"), 2;
  const int count = std::atoi(argv[1]);
  const std::chrono::seconds running(argc > 2 ? std::atoi(argv[2]) : 3);
  Measure(count, running, /*captures_first=*/false);
  Measure(count, running, /*captures_first=*/true);
  return 0;
}
