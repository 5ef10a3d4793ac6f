#ifndef MOVRA_MEDIA_ENCODE_ENCODER_CONTROLLER_FOR_TEST_H_
#define MOVRA_MEDIA_ENCODE_ENCODER_CONTROLLER_FOR_TEST_H_

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "media/encode/encode_for_test.h"
#include "media/encode/encoder_controller.h"
#include "media/encode/scripted_encoder_for_test.h"
#include "media/track/bounded_track.h"

namespace movra::media {

inline constexpr video::Size kSmallSize{64, 48};
inline constexpr std::uint64_t kLongWaitMs = 60'000;

class EncoderControllerFixture : public ::testing::Test {
 protected:
  EncoderControllerFixture() { controller_ = MakeController(); }

  std::shared_ptr<EncoderController> MakeController() {
    const auto controller = std::make_shared<EncoderController>(
        video::VideoContext(trace_, "[main]"), video::VideoStreamType::kSmall, client_,
        ScriptedRegistry(script_));
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

  // The numbers of the frames that were to become key frames.
  std::vector<std::size_t> AskedForKey() const {
    std::vector<std::size_t> numbers;
    for (std::size_t i = 0; i < script_->asked_for_key.size(); ++i) {
      if (script_->asked_for_key[i]) numbers.push_back(i);
    }
    return numbers;
  }

  // A thread that an earlier test left behind may still count what it had.
  static InstanceTrace TraceOfItsOwn() {
    static std::uint64_t last = 0;
    return InstanceTrace(++last);
  }

  const InstanceTrace trace_ = TraceOfItsOwn();
  ScopedMainLoop main_loop_;
  const std::shared_ptr<Script> script_ = std::make_shared<Script>();
  const std::shared_ptr<RecordingClient> client_ = std::make_shared<RecordingClient>();
  std::shared_ptr<PacketRecorder> recorder_ = std::make_shared<PacketRecorder>();
  std::shared_ptr<video::IPixelFrameTrack> track_ = std::make_shared<BoundedTrack>(1000);
  std::shared_ptr<EncoderController> controller_;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_ENCODE_ENCODER_CONTROLLER_FOR_TEST_H_
