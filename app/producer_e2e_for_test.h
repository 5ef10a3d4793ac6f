// Producers on the real collaborators, without the program around them.

#ifndef MOVRA_APP_PRODUCER_E2E_FOR_TEST_H_
#define MOVRA_APP_PRODUCER_E2E_FOR_TEST_H_

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "core/run_loop.h"
#include "core/service_center.h"
#include "video/producer/video_producer2_impl.h"

namespace movra::app {

class ProducerE2e : public ::testing::Test {
 protected:
  static constexpr auto kBig = video::VideoStreamType::kBig;
  static constexpr auto kSmall = video::VideoStreamType::kSmall;

  ProducerE2e() { core::SetMainQueue(loop_); }
  ~ProducerE2e() override {
    OnMainQueue([this] {
      for (const auto& producer : producers_) {
        producer->StopEncoder(kBig, 0);
        producer->StopEncoder(kSmall, 0);
        producer->StopCapture({});
        producer->Uninitialize();
      }
    });
    core::ServiceCenter::Instance().Clear();
    core::SetMainQueue(nullptr);
  }

  // Operations run as they do in a program: in a task of the main queue.
  template <class Action>
  void OnMainQueue(Action action) {
    loop_->Post(movra_base::BindOnce([&action] { action(); }));
    loop_->RunUntilIdle();
  }

  std::shared_ptr<video::VideoProducer2Impl> MakeProducer() {
    auto producer = std::make_shared<video::VideoProducer2Impl>(
        video::VideoContext(InstanceTrace(producers_.size() + 1), ""), nullptr, kBig);
    producers_.push_back(producer);
    OnMainQueue([&] { producer->Initialize(); });
    return producer;
  }

  static video::EncodeParams Params(video::Size size, int frame_rate, int bitrate_bps) {
    video::EncodeParams params;
    params.width = size.width;
    params.height = size.height;
    params.frame_rate = frame_rate;
    params.bitrate_bps = bitrate_bps;
    return params;
  }

  void StartEncoder(video::IVideoProducer2& producer, video::VideoStreamType type,
                    const video::EncodeParams& params,
                    const std::shared_ptr<video::IVideoFrameTrackWriter>& writer) {
    OnMainQueue([&] { producer.StartEncoder(type, params, writer); });
  }

  void StartCamera(video::IVideoProducer2& producer, const std::string& id) {
    video::CameraParams camera;
    camera.camera_id = id;
    camera.frame_rate = 30;  // Otherwise the encoder's rate would become the camera's.
    OnMainQueue([&] {
      producer.SetProducerMode(video::ProducerMode::kOwnSize);
      producer.StartCapture(camera, {});
    });
  }

 private:
  const std::shared_ptr<core::RunLoop> loop_ = std::make_shared<core::RunLoop>();
  std::vector<std::shared_ptr<video::VideoProducer2Impl>> producers_;
};

}  // namespace movra::app

#endif  // MOVRA_APP_PRODUCER_E2E_FOR_TEST_H_
