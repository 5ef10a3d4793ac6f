#ifndef MOVRA_MEDIA_ENCODE_ENCODER_CONTROLLER_FOR_TEST_H_
#define MOVRA_MEDIA_ENCODE_ENCODER_CONTROLLER_FOR_TEST_H_

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "media/encode/encode_for_test.h"
#include "media/encode/encoder_controller.h"
#include "media/track/bounded_track.h"

namespace movra::media {

inline constexpr video::Size kSmallSize{64, 48};
inline constexpr std::uint64_t kLongWaitMs = 60'000;

// What the library behind the seam is told, and how it answers. Shared by all encoders of a test.
struct Script {
  struct Opened {
    EncoderSettings settings;
    StreamFormat format;
  };

  std::mutex mutex;
  // All guarded by mutex.
  std::vector<Opened> opened;
  std::vector<EncoderSettings> reconfigured;
  std::vector<std::int64_t> ticks;
  std::vector<bool> asked_for_key;
  bool open_fails = false;
  bool encode_fails = false;
  bool reconfigure_fails = false;
  bool reconfigure_does_nothing = false;
};

class ScriptedEncoder : public IFrameEncoder {
 public:
  explicit ScriptedEncoder(std::shared_ptr<Script> script) : script_(std::move(script)) {}

  bool Reconfigure(const EncoderSettings& settings) override {
    const std::lock_guard lock(script_->mutex);
    script_->reconfigured.push_back(settings);
    return !script_->reconfigure_fails;
  }

  bool HasSettings() const override {
    const std::lock_guard lock(script_->mutex);
    return !script_->reconfigure_does_nothing || script_->reconfigured.empty();
  }

  std::optional<EncodedPicture> Encode(const video::PixelFrame& /*frame*/, std::int64_t ticks,
                                       bool key_frame, EncoderFailure& failure) override {
    const std::lock_guard lock(script_->mutex);
    script_->ticks.push_back(ticks);
    script_->asked_for_key.push_back(key_frame);
    if (script_->encode_fails) {
      failure = {video::VideoEncoderError::kEncodeFailed, "told to fail"};
      return std::nullopt;
    }
    const bool key = key_frame || first_;
    first_ = false;
    return EncodedPicture{kBytes, sizeof(kBytes), key};
  }

  std::string Describe() const override { return "scripted"; }

 private:
  static constexpr std::uint8_t kBytes[] = {0, 0, 0, 1, 0x65};
  const std::shared_ptr<Script> script_;
  bool first_ = true;
};

class EncoderControllerFixture : public ::testing::Test {
 protected:
  EncoderControllerFixture() { controller_ = MakeController(); }

  std::shared_ptr<EncoderController> MakeController() {
    const auto controller = std::make_shared<EncoderController>(
        video::VideoContext(InstanceTrace(1), "[main]"), video::VideoStreamType::kSmall, client_,
        [script = script_](const EncoderSettings& settings, const StreamFormat& format,
                           EncoderFailure& failure) -> std::unique_ptr<IFrameEncoder> {
          const std::lock_guard lock(script->mutex);
          script->opened.push_back({settings, format});
          if (script->open_fails) {
            failure = {video::VideoEncoderError::kOpenFailed, "told not to open"};
            return nullptr;
          }
          return std::make_unique<ScriptedEncoder>(script);
        });
    controller->SetInputTrackReader(track_->GetReader());
    controller->SetOutputTrackWriter(recorder_);
    return controller;
  }

  void Write(int index, const video::Size& size = kSmallSize) {
    ASSERT_EQ(track_->GetWriter()->Write(PaintFrame(size, index)),
              video::TrackWriteResult::kAccepted);
  }

  // Waits until everything that was written so far has gone through the encoder.
  void Flush() {
    track_->GetWriter()->WriteEnd(video::StreamEnd());
    recorder_->WaitForEnd();
    main_loop_.RunPosted();
  }

  std::vector<std::uint64_t> WrittenSequences() const {
    std::vector<std::uint64_t> sequences;
    for (const auto& packet : recorder_->packets()) sequences.push_back(packet.frame.sequence);
    return sequences;
  }

  ScopedMainLoop main_loop_;
  const std::shared_ptr<Script> script_ = std::make_shared<Script>();
  const std::shared_ptr<RecordingClient> client_ = std::make_shared<RecordingClient>();
  std::shared_ptr<PacketRecorder> recorder_ = std::make_shared<PacketRecorder>();
  std::shared_ptr<video::IPixelFrameTrack> track_ = std::make_shared<BoundedTrack>(1000);
  std::shared_ptr<EncoderController> controller_;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_ENCODE_ENCODER_CONTROLLER_FOR_TEST_H_
