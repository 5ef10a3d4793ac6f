// An encoder that encodes nothing and remembers everything it was told.

#ifndef MOVRA_TESTING_ENCODER_DOUBLE_H_
#define MOVRA_TESTING_ENCODER_DOUBLE_H_

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "base/optional.h"
#include "testing/double.h"
#include "video/video_encoder_controller.h"

namespace movra::testing {

// Named "small_encoder" for the small stream and "big_encoder" for every other.
class EncoderDouble : public video::IVideoEncoderController, public Double {
 public:
  EncoderDouble(std::string name, std::shared_ptr<Journal> journal,
                const video::VideoContext& context, video::VideoStreamType type,
                std::weak_ptr<Client> client);

  // What the statistics and the property are to be.
  video::EncoderStats stats;
  video::EncoderProperty property;

  [[nodiscard]] const video::VideoContext& context() const { return context_; }
  [[nodiscard]] video::VideoStreamType type() const { return type_; }
  // The client if it lives; events are raised by calling it.
  [[nodiscard]] std::shared_ptr<Client> client() const { return client_.lock(); }
  [[nodiscard]] bool is_started() const { return is_started_; }
  // For controllers that stop by themselves, or fail to start.
  void set_started(bool started) { is_started_ = started; }
  // As told last.
  [[nodiscard]] const auto& params() const { return params_; }
  [[nodiscard]] const auto& input() const { return input_; }
  [[nodiscard]] const auto& output() const { return output_; }

  // video::IVideoEncoderController.
  void Start() override;
  void Stop(std::uint64_t max_wait_ms) override;
  void RequestKeyFrame() override;
  [[nodiscard]] bool IsStarted() override;
  [[nodiscard]] video::EncoderStats GetStats() override;
  [[nodiscard]] video::EncoderProperty GetProperty() override;
  void SetEncodeParams(const video::EncodeParams& params) override;
  void SetInputTrackReader(std::weak_ptr<video::IPixelFrameTrackReader> reader) override;
  void SetOutputTrackWriter(std::weak_ptr<video::IVideoFrameTrackWriter> writer) override;
  void SetRpsNearestRefSize(int size) override;
  void DeliverRpsAck(std::int32_t ack_value, std::uint16_t ack_flag) override;
  void SetRoiConfig(std::vector<video::RoiConfigInfo> configs) override;

 private:
  const video::VideoContext context_;
  const video::VideoStreamType type_;
  const std::weak_ptr<Client> client_;
  bool is_started_ = false;
  movra_base::Optional<video::EncodeParams> params_;
  std::weak_ptr<video::IPixelFrameTrackReader> input_;
  std::weak_ptr<video::IVideoFrameTrackWriter> output_;
};

}  // namespace movra::testing

#endif  // MOVRA_TESTING_ENCODER_DOUBLE_H_
