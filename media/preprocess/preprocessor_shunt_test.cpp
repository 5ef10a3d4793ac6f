// An application that looks on at the encoders' own position: it costs them nothing.

#include <cstdint>
#include <memory>

#include "media/figures/frame_account.h"
#include "media/preprocess/preprocessor_fixture_for_test.h"

namespace movra::media {
namespace {

using ::testing::IsEmpty;
using video::IPixelFrameTrack;
using video::TrackWriteResult;

// The shunt as the producer makes it: without a size.
class PreprocessorShunt : public PreprocessorTest {
 protected:
  PreprocessorShunt() {
    preprocessor->AddOutputTrack(kEncoder, Params(kSize), encoder_);
    preprocessor->StartProcessing();
  }

  std::shared_ptr<IPixelFrameTrack> AddShunt() { return AddTrack(kEncoder, {}); }
  void SendLossless(std::uint64_t sequence) {
    ASSERT_EQ(Send(sequence, kLossless), TrackWriteResult::kAccepted);
    queue->RunAll();
  }

  std::shared_ptr<RecordingWriter> encoder_ = std::make_shared<RecordingWriter>();
};

TEST_F(PreprocessorShunt, GetsWhatItHasRoomForAndHoldsNoEncoderBack) {
  const auto shunt = AddShunt();
  for (std::uint64_t i = 0; i < 5; ++i) SendLossless(i);
  source->GetWriter()->WriteEnd({});
  queue->RunAll();
  EXPECT_EQ(encoder_->frames.size(), 5U);
  EXPECT_EQ(encoder_->ends.size(), 1U);
  EXPECT_EQ(shunt->GetReader()->GetDroppedFrames(), 4U);
  EXPECT_EQ(Read(shunt), "4");
  EXPECT_EQ(queue->waiting(), 0U) << "nobody waits for its room";
  EXPECT_EQ(Read(shunt), "end 0");
}

TEST_F(PreprocessorShunt, IsNotWaitedForWhenItIsRemoved) {
  const auto main_queue = std::make_shared<ManualQueue>();
  const auto previous = core::SetMainQueue(main_queue);
  const auto shunt = AddShunt();
  preprocessor->RemoveOutputTrack(shunt->GetWriter());
  SendLossless(0);
  EXPECT_EQ(encoder_->frames.size(), 1U);
  EXPECT_EQ(main_queue->waiting(), 0U);
  core::SetMainQueue(previous);
}

TEST_F(PreprocessorShunt, IsGivenNothingMoreOnceItIsRemoved) {
  const auto shunt = std::make_shared<RecordingWriter>();
  preprocessor->AddOutputTrack(kEncoder, Params({}), shunt);
  const auto smaller = std::make_shared<RecordingWriter>();  // Written first.
  preprocessor->AddOutputTrack(kEncoder, Params({32, 18}), smaller);
  smaller->on_write = [&] { preprocessor->RemoveOutputTrack(shunt); };
  SendLossless(0);
  EXPECT_EQ(smaller->frames.size(), 1U);
  EXPECT_THAT(shunt->frames, IsEmpty());
}

TEST_F(PreprocessorShunt, KeepsTheFramesOwnSizeWhenTheEncodersChanges) {
  const auto shunt = std::make_shared<RecordingWriter>();
  preprocessor->AddOutputTrack(kEncoder, Params({}), shunt);
  preprocessor->SetEncoderOutputSize(32, 18);
  SendLossless(0);
  EXPECT_EQ(encoder_->frames.at(0).info().size, (video::Size{32, 18}));
  EXPECT_EQ(shunt->frames.at(0).info().size, kSize);
}

TEST_F(PreprocessorShunt, IsNoneIfItsTrackIsCountedAsAStreams) {
  const auto track = IPixelFrameTrack::Create("encoder", 1);
  const auto account = FrameAccount::Of(context.trace());
  CountInto(*track->GetReader(), FrameAccount::Stream(account, video::VideoStreamType::kBig));
  preprocessor->AddOutputTrack(kEncoder, Params({}), track->GetWriter());
  SendLossless(0);
  SendLossless(1);
  EXPECT_EQ(encoder_->frames.size(), 1U);
  EXPECT_EQ(Read(track), "0");
  queue->RunAll();
  EXPECT_EQ(Read(track), "1");
}

}  // namespace
}  // namespace movra::media
