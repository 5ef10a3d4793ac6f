#include "testing/encoder_double.h"

#include <utility>

#include "testing/world.h"

namespace movra::testing {

EncoderDouble::EncoderDouble(std::string name, std::shared_ptr<Journal> journal,
                             const video::VideoContext& context, video::VideoStreamType type,
                             std::weak_ptr<Client> client)
    : Double(std::move(name), std::move(journal)),
      context_(context),
      type_(type),
      client_(std::move(client)) {}

void EncoderDouble::Start() {
  Called("Start");
  is_started_ = true;
}

void EncoderDouble::Stop(std::uint64_t max_wait_ms) {
  Called("Stop", max_wait_ms);
  is_started_ = false;
}

void EncoderDouble::RequestKeyFrame() { Called("RequestKeyFrame"); }

bool EncoderDouble::IsStarted() {
  Called("IsStarted");
  return is_started_;
}

video::EncoderStats EncoderDouble::GetStats() {
  Called("GetStats");
  return stats;
}

video::EncoderProperty EncoderDouble::GetProperty() {
  Called("GetProperty");
  return property;
}

void EncoderDouble::SetEncodeParams(const video::EncodeParams& params) {
  Called("SetEncodeParams", params);
  params_ = params;
}

void EncoderDouble::SetInputTrackReader(std::weak_ptr<video::IPixelFrameTrackReader> reader) {
  Called("SetInputTrackReader", reader);
  input_ = std::move(reader);
}

void EncoderDouble::SetOutputTrackWriter(std::weak_ptr<video::IVideoFrameTrackWriter> writer) {
  Called("SetOutputTrackWriter", writer);
  output_ = std::move(writer);
}

void EncoderDouble::SetRpsNearestRefSize(int size) { Called("SetRpsNearestRefSize", size); }

void EncoderDouble::DeliverRpsAck(std::int32_t ack_value, std::uint16_t ack_flag) {
  Called("DeliverRpsAck", ack_value, ack_flag);
}

void EncoderDouble::SetRoiConfig(std::vector<video::RoiConfigInfo> configs) {
  Called("SetRoiConfig", configs);
}

}  // namespace movra::testing

namespace movra::video {

std::shared_ptr<IVideoEncoderController> IVideoEncoderController::CreateVideoEncoderController(
    const VideoContext& context, VideoStreamType type, std::weak_ptr<Client> client) {
  testing::World& world = testing::World::Current();
  world.journal()->Call("IVideoEncoderController", "CreateVideoEncoderController", context, type,
                        client);
  if (!world.answers.makes_encoder) return nullptr;
  const bool is_small = type == VideoStreamType::kSmall;
  auto made = std::make_shared<testing::EncoderDouble>(
      world.UniqueName(is_small ? "small_encoder" : "big_encoder"), world.journal(), context, type,
      std::move(client));
  (is_small ? world.small_encoders : world.big_encoders).Add(made);
  return made;
}

PixelFrameFormat IVideoEncoderController::QueryInputPixelFormat(VideoStreamType type,
                                                                const EncodeParams& params) {
  testing::World& world = testing::World::Current();
  world.journal()->Call("IVideoEncoderController", "QueryInputPixelFormat", type, params);
  return world.answers.encoder_input_format;
}

}  // namespace movra::video
