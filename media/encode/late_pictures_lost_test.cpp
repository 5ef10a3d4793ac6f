#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>

#include "media/encode/late_pictures_for_test.h"

// What becomes of pictures that are inside when something fails, or when nobody wants them.

namespace movra::media {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class ThrowingWriter : public video::IVideoFrameTrackWriter {
 public:
  void Write(const video::EncodedFrame& /*frame*/) override {
    ++writes;
    throw std::runtime_error("no");
  }

  int writes = 0;
};

TEST_F(LatePicturesTest, WhatIsInsideAnAbandonedEncoderIsCountedAsStopped) {
  script_->delay = 3;
  recorder_->HoldNextWrite();
  WriteFrames(0, 4);
  controller_->Start();
  recorder_->WaitUntilHeld();
  controller_->Stop(0);
  recorder_->Release();
  WaitForFates(4);
  ExpectFates(1, 0, 3);
  EXPECT_THAT(WrittenSequences(), ElementsAre(0));
  EXPECT_EQ(script_->flushes, 0);
}

TEST_F(LatePicturesTest, AFlushThatIsAbandonedWritesNothingMore) {
  script_->delay = 3;
  recorder_->HoldNextWrite();
  WriteFrames(0, 3);
  track_->GetWriter()->WriteEnd(video::StreamEnd());
  controller_->Start();
  recorder_->WaitUntilHeld();
  controller_->Stop(0);
  recorder_->Release();
  WaitForFates(3);
  ExpectFates(1, 0, 2);
  // The second one was refused, and the third not even asked for.
  EXPECT_EQ(controller_->GetStats().record.frames_encoded, 2U);
  EXPECT_THAT(WrittenSequences(), ElementsAre(0));
  EXPECT_THAT(recorder_->ends(), IsEmpty());
}

TEST_F(LatePicturesTest, AFailureCountsWhatIsInside) {
  script_->delay = 3;
  controller_->Start();
  WriteFrames(0, 4);
  recorder_->WaitForPackets(1);
  Change([](Script& script) { script.encode_fails = true; });
  WriteFrames(4, 6);
  Flush();
  ExpectFates(1, 5);
  EXPECT_EQ(controller_->GetStats().record.frames_failed, 5U);
  ASSERT_THAT(client_->errors, SizeIs(1));
  EXPECT_EQ(client_->errors[0].text, "told to fail");
}

TEST_F(LatePicturesTest, AFailureToGiveCountsWhatIsInside) {
  script_->take_fails = true;
  controller_->Start();
  WriteFrames(0, 2);
  Flush();
  ExpectFates(0, 2);
  ASSERT_THAT(client_->errors, SizeIs(1));
  EXPECT_EQ(client_->errors[0].text, "told not to give");
  EXPECT_EQ(controller_->GetProperty(), video::EncoderProperty());
}

TEST_F(LatePicturesTest, AFailedFlushCountsWhatIsInside) {
  script_->delay = 2;
  script_->flush_fails = true;
  controller_->Start();
  WriteFrames(0, 3);
  Flush();
  EXPECT_THAT(WrittenSequences(), ElementsAre(0));
  ExpectFates(1, 2);
  ASSERT_THAT(client_->errors, SizeIs(1));
  EXPECT_EQ(client_->errors[0].text, "told not to flush");
}

TEST_F(LatePicturesTest, AFrameOfWhichNoPictureComesHasFailed) {
  script_->delay = 2;
  script_->flush_gives_nothing = true;
  controller_->Start();
  WriteFrames(0, 3);
  Flush();
  ExpectFates(1, 2);
  ASSERT_THAT(client_->errors, SizeIs(1));
  EXPECT_THAT(client_->errors[0].text, HasSubstr("no picture for 2 frames"));
}

TEST_F(LatePicturesTest, APictureOfNoFrameIsAFailure) {
  script_->gives_foreign_ticks = true;
  controller_->Start();
  WriteFrames(0, 1);
  Flush();
  EXPECT_THAT(recorder_->packets(), IsEmpty());
  ExpectFates(0, 1);
  ASSERT_THAT(client_->errors, SizeIs(1));
  EXPECT_EQ(client_->errors[0].error, video::VideoEncoderError::kEncodeFailed);
}

TEST_F(LatePicturesTest, AfterAFailureWithPicturesInsideChangedParametersTryAgain) {
  script_->delay = 2;
  controller_->Start();
  WriteFrames(0, 3);
  recorder_->WaitForPackets(1);
  Change([](Script& script) { script.encode_fails = true; });
  WriteFrames(3, 4);
  Flush();
  Change([](Script& script) { script.encode_fails = false; });
  ChangeBitrate(700'000);
  WriteFrames(4, 6);
  controller_->Stop(kLongWaitMs);
  EXPECT_THAT(WrittenSequences(), ElementsAre(0, 4, 5));
  ExpectFates(3, 3);
}

TEST_F(LatePicturesTest, AWriterThatThrowsGetsNoneOfThoseThatComeWithIt) {
  const auto thrower = std::make_shared<ThrowingWriter>();
  controller_->SetOutputTrackWriter(thrower);
  script_->at_once = 3;
  WriteFrames(0, 3);
  StartAndDrain();
  EXPECT_EQ(thrower->writes, 1);
  ExpectFates(0, 3);
}

TEST_F(LatePicturesTest, WhatIsInsideWhenTheWriterGoesHasNowhereToGo) {
  script_->delay = 2;
  controller_->Start();
  WriteFrames(0, 3);
  recorder_->WaitForPackets(1);
  recorder_.reset();
  controller_->Stop(kLongWaitMs);
  ExpectFates(1, 2);
}

}  // namespace
}  // namespace movra::media
