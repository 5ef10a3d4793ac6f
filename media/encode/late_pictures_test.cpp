#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <memory>

#include "media/encode/late_pictures_for_test.h"

namespace movra::media {
namespace {

using std::chrono::milliseconds;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using video::EncodeParams;

// Remembers how many pictures there were at the end mark.
class EndRecorder : public PacketRecorder {
 public:
  void WriteEnd(const video::StreamEnd& end) override {
    packets_at_end = packets().size();
    PacketRecorder::WriteEnd(end);
  }
  std::size_t packets_at_end = 0;
};

TEST_F(LatePicturesTest, APictureThatComesLateIsMatchedToItsFrame) {
  script_->delay = 3;
  controller_->Start();
  WriteFrames(0, 6);
  recorder_->WaitForPackets(3);
  EXPECT_THAT(WrittenSequences(), ElementsAre(0, 1, 2));
  controller_->Stop(kLongWaitMs);
  EXPECT_THAT(WrittenSequences(), ElementsAre(0, 1, 2, 3, 4, 5));
  ExpectEachMatched();
  ExpectFates(6, 0);
  EXPECT_EQ(controller_->GetStats().record.frames_encoded, 6U);
}

TEST_F(LatePicturesTest, PicturesThatComeAtOnceAreMatchedEachToItsOwnFrame) {
  script_->at_once = 3;
  WriteFrames(0, 8);
  StartAndDrain();
  EXPECT_THAT(WrittenSequences(), ElementsAre(0, 1, 2, 3, 4, 5, 6, 7));
  ExpectEachMatched();
  ExpectFates(8, 0);
}

TEST_F(LatePicturesTest, TheOrderIsThatOfEncoding) {
  script_->at_once = 3;
  script_->last_first = true;
  WriteFrames(0, 6);
  StartAndDrain();
  EXPECT_THAT(WrittenSequences(), ElementsAre(2, 1, 0, 5, 4, 3));
  ExpectEachMatched();
}

TEST_F(LatePicturesTest, TheExpectedDurationIsThatOfItsFrame) {
  EncodeParams params;
  params.frame_rate = 20;
  controller_->SetEncodeParams(params);
  script_->delay = 2;
  for (const int tenths : {0, 1, 2, 3}) {
    track_->GetWriter()->Write(PaintFrame(kSmallSize, tenths, 10));
  }
  StartAndDrain();
  const auto packets = recorder_->packets();
  ASSERT_THAT(packets, SizeIs(4));
  EXPECT_EQ(packets[0].frame.duration, milliseconds(50));
  EXPECT_EQ(packets[1].frame.duration, milliseconds(100));
}

TEST_F(LatePicturesTest, TheEncodeTimeIsThatOfItsFrame) {
  script_->delay = 3;
  script_->first_takes = milliseconds(50);
  WriteFrames(0, 8);
  StartAndDrain();
  const auto packets = recorder_->packets();
  ASSERT_THAT(packets, SizeIs(8));
  EXPECT_GE(packets[0].frame.encode_time, milliseconds(50));
  for (const auto& packet : packets) EXPECT_GT(packet.frame.encode_time.count(), 0);
}

TEST_F(LatePicturesTest, AllThatIsInsideComesOutBeforeTheEndMark) {
  const auto recorder = std::make_shared<EndRecorder>();
  controller_->SetOutputTrackWriter(recorder);
  script_->delay = 3;
  WriteFrames(0, 4);
  track_->GetWriter()->WriteEnd(video::StreamEnd());
  WriteFrames(4, 6);
  StartAndDrain();
  EXPECT_EQ(recorder->packets_at_end, 4U);
  const auto packets = recorder->packets();
  ASSERT_THAT(packets, SizeIs(6));
  // The second stream begins anew, by the same encoder.
  EXPECT_THAT(AskedForKey(), ElementsAre(0, 4));
  EXPECT_TRUE(packets[4].frame.key_frame);
  EXPECT_EQ(packets[3].frame.number, 3U);
  EXPECT_EQ(packets[4].frame.number, 0U);
  EXPECT_THAT(script_->opened, SizeIs(1));
  ExpectFates(6, 0);
}

TEST_F(LatePicturesTest, AnEncoderThatCannotBeginAnewBehindAFlushIsFollowedByAnother) {
  script_->delay = 3;
  script_->ends_at_flush = true;
  WriteFrames(0, 4);
  track_->GetWriter()->WriteEnd(video::StreamEnd());
  WriteFrames(4, 6);
  StartAndDrain();
  EXPECT_THAT(WrittenSequences(), ElementsAre(0, 1, 2, 3, 4, 5));
  EXPECT_THAT(KeyFrames(), ElementsAre(0, 4));
  EXPECT_THAT(script_->opened, SizeIs(2));
  EXPECT_THAT(client_->errors, IsEmpty());
}

TEST_F(LatePicturesTest, AllThatIsInsideComesOutBeforeANewSize) {
  script_->delay = 2;
  WriteFrames(0, 3);
  WriteFrames(3, 5, {32, 32});
  StartAndDrain();
  EXPECT_THAT(WrittenSequences(), ElementsAre(0, 1, 2, 3, 4));
  ExpectEachMatched();
  for (const auto& packet : recorder_->packets()) {
    EXPECT_EQ(packet.frame.size, packet.frame.sequence < 3 ? kSmallSize : (video::Size{32, 32}));
  }
  EXPECT_THAT(KeyFrames(), ElementsAre(0, 3));
  EXPECT_EQ(script_->flushes, 2);
  ExpectFates(5, 0);
}

TEST_F(LatePicturesTest, AllThatIsInsideComesOutBeforeANewColour) {
  const video::ColorDescription bt709{1, 1, 1, true};
  script_->delay = 2;
  WriteFrames(0, 3);
  for (int i = 3; i < 5; ++i) {
    track_->GetWriter()->Write(
        Redescribed(Frame(i), [&](video::PixelFrameInfo& info) { info.color = bt709; }));
  }
  StartAndDrain();
  EXPECT_THAT(WrittenSequences(), ElementsAre(0, 1, 2, 3, 4));
  for (const auto& packet : recorder_->packets()) {
    EXPECT_EQ(packet.frame.color, packet.frame.sequence < 3 ? video::ColorDescription() : bt709);
  }
}

TEST_F(LatePicturesTest, AllThatIsInsideComesOutBeforeAnotherCodec) {
  script_->delay = 2;
  controller_->Start();
  WriteFrames(0, 3);
  recorder_->WaitForPackets(1);
  EncodeParams params;
  params.codec = kOtherCodec;
  controller_->SetEncodeParams(params);
  for (int i = 3; i < 5; ++i) {
    track_->GetWriter()->Write(PaintFrame(kSmallSize, i, 30, 0, video::PixelFormat::kNV12));
  }
  controller_->Stop(kLongWaitMs);
  EXPECT_THAT(WrittenSequences(), ElementsAre(0, 1, 2, 3, 4));
  for (const auto& packet : recorder_->packets()) {
    EXPECT_EQ(packet.frame.codec,
              packet.frame.sequence < 3 ? video::VideoCodec::kH264 : kOtherCodec);
  }
  ASSERT_THAT(script_->opened, SizeIs(2));
  EXPECT_EQ(script_->opened[1].settings.codec, kOtherCodec);
}

TEST_F(LatePicturesTest, TheCodecDecidesWhichFramesAreRead) {
  EncodeParams params;
  params.codec = kOtherCodec;
  controller_->SetEncodeParams(params);
  WriteFrames(0, 1);
  controller_->Start();
  Flush();
  EXPECT_THAT(recorder_->packets(), IsEmpty());
  ASSERT_THAT(client_->errors, SizeIs(1));
  EXPECT_EQ(client_->errors[0].error, video::VideoEncoderError::kInputUnsupported);
  EXPECT_THAT(client_->errors[0].text, HasSubstr("reads kNV12 in kMemory, not kI420"));
  ExpectFates(0, 1);
}

TEST_F(LatePicturesTest, AllThatIsInsideGoesToTheWriterOfBefore) {
  script_->delay = 2;
  controller_->Start();
  WriteFrames(0, 4);
  recorder_->WaitForPackets(2);
  const auto other = std::make_shared<PacketRecorder>();
  controller_->SetOutputTrackWriter(other);
  WriteFrames(4, 7);
  controller_->Stop(kLongWaitMs);
  EXPECT_THAT(WrittenSequences(), ElementsAre(0, 1, 2, 3));
  ASSERT_THAT(other->packets(), SizeIs(3));
  EXPECT_EQ(other->packets()[0].frame.sequence, 4U);
  EXPECT_TRUE(other->packets()[0].frame.key_frame);
  ExpectFates(7, 0);
}

TEST_F(LatePicturesTest, ARequestedKeyFrameComesBehindWhatIsInside) {
  script_->delay = 3;
  controller_->Start();
  WriteFrames(0, 4);
  recorder_->WaitForPackets(1);
  controller_->RequestKeyFrame();
  WriteFrames(4, 6);
  controller_->Stop(kLongWaitMs);
  EXPECT_THAT(AskedForKey(), ElementsAre(0, 4));
  EXPECT_THAT(WrittenSequences(), ElementsAre(0, 1, 2, 3, 4, 5));
  EXPECT_THAT(KeyFrames(), ElementsAre(0, 4));
}

TEST_F(LatePicturesTest, KeyFramesKeepTheirIntervalHoweverLateTheyCome) {
  EncodeParams params;
  params.key_frame_interval_ms = 500;
  controller_->SetEncodeParams(params);
  script_->delay = 20;
  WriteFrames(0, 46);
  StartAndDrain();
  EXPECT_THAT(AskedForKey(), ElementsAre(0, 15, 30, 45));
  EXPECT_THAT(KeyFrames(), ElementsAre(0, 15, 30, 45));
}

TEST_F(LatePicturesTest, AnEncoderOpenedAnewBeginsItsInterval) {
  EncodeParams params;
  params.key_frame_interval_ms = 500;
  controller_->SetEncodeParams(params);
  script_->delay = 20;
  WriteFrames(0, 10);
  WriteFrames(10, 30, {32, 32});
  StartAndDrain();
  EXPECT_THAT(AskedForKey(), ElementsAre(0, 25));
  EXPECT_THAT(KeyFrames(), ElementsAre(0, 10, 25));
}

TEST_F(LatePicturesTest, AKeyFrameOfBeforeAJumpBackLeavesTheScheduleBehindIt) {
  EncodeParams params;
  params.key_frame_interval_ms = 500;
  controller_->SetEncodeParams(params);
  script_->delay = 6;
  WriteFrames(100, 120);
  WriteFrames(0, 20);
  StartAndDrain();
  EXPECT_THAT(AskedForKey(), ElementsAre(0, 15, 35));
}

TEST_F(LatePicturesTest, AChangeThatIsTakenOverLeavesWhatIsInsideInside) {
  script_->delay = 3;
  controller_->Start();
  WriteFrames(0, 4);
  recorder_->WaitForPackets(1);
  ChangeBitrate(700'000);
  WriteFrames(4, 5);
  recorder_->WaitForPackets(2);
  EXPECT_EQ(script_->flushes, 0);
  controller_->Stop(kLongWaitMs);
  EXPECT_THAT(WrittenSequences(), ElementsAre(0, 1, 2, 3, 4));
  ExpectEachMatched();
  EXPECT_THAT(script_->reconfigured, SizeIs(1));
  EXPECT_THAT(script_->opened, SizeIs(1));
}

TEST_F(LatePicturesTest, BeforeARefusedChangeOpensAnotherAllThatIsInsideComesOut) {
  script_->delay = 3;
  script_->reconfigure_fails = true;
  controller_->Start();
  WriteFrames(0, 4);
  recorder_->WaitForPackets(1);
  ChangeBitrate(700'000);
  WriteFrames(4, 5);
  controller_->Stop(kLongWaitMs);
  EXPECT_THAT(WrittenSequences(), ElementsAre(0, 1, 2, 3, 4));
  ExpectEachMatched();
  EXPECT_THAT(KeyFrames(), ElementsAre(0, 4));
  EXPECT_THAT(script_->opened, SizeIs(2));
  ExpectFates(5, 0);
}

TEST_F(LatePicturesTest, BeforeAChangeWithoutEffectOpensAnotherAllThatIsInsideComesOut) {
  script_->delay = 3;
  script_->reconfigure_does_nothing = true;
  controller_->Start();
  WriteFrames(0, 4);
  recorder_->WaitForPackets(1);
  ChangeBitrate(700'000);
  WriteFrames(4, 6);
  controller_->Stop(kLongWaitMs);
  EXPECT_THAT(WrittenSequences(), ElementsAre(0, 1, 2, 3, 4, 5));
  ExpectEachMatched();
  EXPECT_THAT(script_->opened, SizeIs(::testing::Ge(2U)));
  ExpectFates(6, 0);
}

}  // namespace
}  // namespace movra::media
