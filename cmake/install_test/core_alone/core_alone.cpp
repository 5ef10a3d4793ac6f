// An application that brings every collaborator itself: the producer decides, nothing is encoded.

#include <cstdio>
#include <memory>

#include "core/run_loop.h"
#include "video/producer/video_producer2_impl.h"

int main() {
  core::SetMainQueue(std::make_shared<core::RunLoop>());
  const auto producer = std::make_shared<movra::video::VideoProducer2Impl>(
      movra::video::VideoContext(movra::InstanceTrace(1), ""), nullptr,
      movra::video::VideoStreamType::kBig);
  producer->Initialize();
  producer->EnableCustomCapturing(true);
  std::puts(producer->IsCapturing() ? "capturing" : "not capturing");
  producer->StopCapture({});
  std::puts(producer->IsCapturing() ? "capturing" : "stopped");
  producer->Uninitialize();
  core::SetMainQueue(nullptr);
}
