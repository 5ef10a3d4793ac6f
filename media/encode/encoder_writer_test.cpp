#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

#include "media/encode/encoder_controller_for_test.h"

// What the application's writers see of the encoders' threads.

namespace movra::media {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class EncoderWriterTest : public EncoderControllerFixture {
 protected:
  // A stop that did not wait, with the old thread in its first Write.
  void LeaveAThreadInTheWriter() {
    recorder_->HoldNextWrite();
    Write(0);
    controller_->Start();
    recorder_->WaitUntilHeld();
    controller_->Stop(0);
    controller_ = MakeController();
  }

  void WaitForEncoded(std::uint32_t frames) const {
    while (controller_->GetStats().record.frames_encoded < frames) std::this_thread::yield();
  }

  void WaitForFailed(std::uint32_t frames) const {
    while (controller_->GetStats().record.frames_failed < frames) std::this_thread::yield();
  }

  // Until no encoder's thread has the recorder any more.
  void WaitUntilAlone() const {
    while (recorder_.use_count() > 1) std::this_thread::yield();
  }
};

TEST_F(EncoderWriterTest, AnotherControllerWritesOnlyWhenTheOldWriteHasEnded) {
  LeaveAThreadInTheWriter();
  Write(1);
  controller_->Start();
  WaitForEncoded(1);
  // A stop that waits gives its thread the time to go wrong.
  controller_->Stop(50);
  EXPECT_EQ(recorder_->most_inside(), 1);

  controller_ = MakeController();
  Write(2);
  controller_->Start();
  recorder_->Release();
  recorder_->WaitForPackets(2);
  controller_->Stop(kLongWaitMs);
  WaitUntilAlone();
  // The second was stopped while it waited for its turn, and wrote nothing when that came.
  EXPECT_THAT(WrittenSequences(), ElementsAre(0, 2));
  EXPECT_EQ(recorder_->most_inside(), 1);
}

TEST_F(EncoderWriterTest, AnEndMarkThatWaitsForItsTurnGoesWithItsStop) {
  LeaveAThreadInTheWriter();
  track_->GetWriter()->WriteEnd(video::StreamEnd());
  controller_->Start();
  controller_->Stop(20);
  recorder_->Release();
  WaitUntilAlone();
  EXPECT_THAT(WrittenSequences(), ElementsAre(0));
  EXPECT_THAT(recorder_->ends(), IsEmpty());
}

TEST_F(EncoderWriterTest, StreamsThatShareAWriterTakeTurns) {
  const auto other_track = std::make_shared<BoundedTrack>(1000);
  const auto other = MakeController();
  other->SetInputTrackReader(other_track->GetReader());
  for (int i = 0; i < 200; ++i) {
    Write(i);
    other_track->GetWriter()->Write(PaintFrame(kSmallSize, i));
  }
  controller_->Start();
  other->Start();
  controller_->Stop(kLongWaitMs);
  other->Stop(kLongWaitMs);
  EXPECT_THAT(recorder_->packets(), SizeIs(400));
  EXPECT_EQ(recorder_->most_inside(), 1);
}

TEST_F(EncoderWriterTest, AnotherWriterIsNotHeldUp) {
  LeaveAThreadInTheWriter();
  const auto other = std::make_shared<PacketRecorder>();
  controller_->SetOutputTrackWriter(other);
  Write(1);
  controller_->Start();
  other->WaitForPackets(1);
  recorder_->Release();
}

TEST_F(EncoderWriterTest, PartsOfOneObjectAreWritersOfTheirOwn) {
  struct Application {
    PacketRecorder first;
    PacketRecorder second;
  };
  const auto application = std::make_shared<Application>();
  const std::shared_ptr<PacketRecorder> first(application, &application->first);
  const std::shared_ptr<PacketRecorder> second(application, &application->second);
  controller_->SetOutputTrackWriter(first);
  controller_->Start();
  Write(0);
  first->WaitForPackets(1);
  controller_->SetOutputTrackWriter(second);
  Write(1);
  second->WaitForPackets(1);
  EXPECT_TRUE(second->packets()[0].frame.key_frame);
  EXPECT_THAT(first->packets(), SizeIs(1));
}

class ThrowingWriter : public video::IVideoFrameTrackWriter {
 public:
  void Write(const video::EncodedFrame& /*frame*/) override {
    ++writes;
    if (throws_frames) throw std::runtime_error("no");
  }
  void WriteEnd(const video::StreamEnd& /*end*/) override { throw 7; }

  bool throws_frames = true;
  int writes = 0;
};

TEST_F(EncoderWriterTest, AWriterThatThrowsIsToldOfOnceAndCalledNoMore) {
  const auto thrower = std::make_shared<ThrowingWriter>();
  controller_->SetOutputTrackWriter(thrower);
  controller_->Start();
  Write(0);
  Write(1);
  WaitForFailed(1);
  // It is still the writer that these name.
  controller_->SetEncodeParams({});
  Write(2);
  WaitForFailed(2);
  main_loop_.RunPosted();
  ASSERT_THAT(client_->errors, SizeIs(1));
  EXPECT_EQ(client_->errors[0].error, video::VideoEncoderError::kEncodeFailed);
  EXPECT_THAT(client_->errors[0].text, HasSubstr("writer threw"));
  EXPECT_EQ(thrower->writes, 1);

  controller_->SetOutputTrackWriter(recorder_);
  Write(3);
  recorder_->WaitForPackets(1);
  EXPECT_TRUE(recorder_->packets()[0].frame.key_frame);
  EXPECT_THAT(WrittenSequences(), ElementsAre(3));
}

TEST_F(EncoderWriterTest, AWriterThatThrowsAtItsEndIsCalledNoMore) {
  const auto thrower = std::make_shared<ThrowingWriter>();
  thrower->throws_frames = false;
  controller_->SetOutputTrackWriter(thrower);
  controller_->Start();
  Write(0);
  track_->GetWriter()->WriteEnd(video::StreamEnd());
  Write(1);
  WaitForFailed(1);
  main_loop_.RunPosted();
  EXPECT_THAT(client_->errors, SizeIs(1));
  EXPECT_EQ(thrower->writes, 1);
}

}  // namespace
}  // namespace movra::media
