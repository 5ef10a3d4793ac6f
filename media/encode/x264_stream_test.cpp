#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <condition_variable>
#include <memory>
#include <mutex>
#include <vector>

#include "media/encode/encode_for_test.h"
#include "media/ffmpeg/decode_for_test.h"
#include "video/pixel_frame_track.h"
#include "video/video_encoder_controller.h"

// The controller as an application gets it, with the real library and tracks.

namespace movra::media {
namespace {

using ::testing::SizeIs;
using video::EncodeParams;
using video::IPixelFrameTrack;
using video::IVideoEncoderController;
using video::Size;
using video::VideoEncoderError;

constexpr std::uint64_t kLongWaitMs = 60'000;

class X264StreamTest : public ::testing::Test {
 protected:
  X264StreamTest() {
    controller_->SetInputTrackReader(track_->GetReader());
    controller_->SetOutputTrackWriter(recorder_);
  }

  void Write(const Size& size, int index, int noise = 0) {
    frames_.push_back(PaintFrame(size, index, 30, noise));
    track_->GetWriter()->Write(frames_.back());
  }

  std::vector<DecodedPicture> Decode() const {
    std::vector<std::vector<std::uint8_t>> packets;
    for (const auto& packet : recorder_->packets()) packets.push_back(packet.bytes);
    return DecodePackets(packets);
  }

  ScopedMainLoop main_loop_;
  const std::shared_ptr<RecordingClient> client_ = std::make_shared<RecordingClient>();
  const std::shared_ptr<PacketRecorder> recorder_ = std::make_shared<PacketRecorder>();
  const std::shared_ptr<IPixelFrameTrack> track_ = IPixelFrameTrack::Create("test", 1000);
  const std::shared_ptr<IVideoEncoderController> controller_ =
      IVideoEncoderController::CreateVideoEncoderController(
          video::VideoContext(InstanceTrace(1), "[main]"), video::VideoStreamType::kBig, client_);
  std::vector<video::PixelFrame> frames_;
};

TEST_F(X264StreamTest, AChangeOfSizeInMidStreamDecodesAcrossTheChange) {
  for (int i = 0; i < 10; ++i) Write({320, 180}, i);
  for (int i = 10; i < 20; ++i) Write({180, 320}, i);
  for (int i = 20; i < 30; ++i) Write({640, 360}, i);
  controller_->Start();
  controller_->Stop(kLongWaitMs);
  const auto pictures = Decode();
  ASSERT_THAT(pictures, SizeIs(30));
  for (std::size_t i = 0; i < pictures.size(); ++i) {
    EXPECT_GT(LumaPsnr(frames_[i], pictures[i]), 28) << i;
    EXPECT_EQ(pictures[i].key_frame, i % 10 == 0) << i;
  }
}

TEST_F(X264StreamTest, ABitRateChangedWhileRunningShowsInWhatComesOut) {
  EncodeParams params;
  params.bitrate_bps = 300'000;
  controller_->SetEncodeParams(params);
  controller_->Start();
  for (int i = 0; i < 90; ++i) Write({320, 180}, i, 20);
  recorder_->WaitForPackets(90);
  params.bitrate_bps = 1'200'000;
  controller_->SetEncodeParams(params);
  for (int i = 90; i < 180; ++i) Write({320, 180}, i, 20);
  controller_->Stop(kLongWaitMs);
  const auto kbps = [packets = recorder_->packets()](std::size_t begin, std::size_t end) {
    std::size_t bytes = 0;
    for (std::size_t i = begin; i < end; ++i) bytes += packets[i].bytes.size();
    return static_cast<double>(bytes) * 8 / 1000 * 30 / static_cast<double>(end - begin);
  };
  EXPECT_NEAR(kbps(30, 90), 300, 90);
  EXPECT_NEAR(kbps(120, 180), 1200, 360);
  EXPECT_EQ(controller_->GetStats().record.target_bitrate_bps, 1'200'000U);
  // Of the default interval of two seconds, and no more for the change.
  EXPECT_EQ(controller_->GetStats().record.key_frames, 3U);
}

TEST_F(X264StreamTest, ARegionSetWhileRunningIsBetterInWhatComesOut) {
  EncodeParams params;
  params.bitrate_bps = 1'500'000;
  controller_->SetEncodeParams(params);
  controller_->Start();
  for (int i = 0; i < 30; ++i) Write({320, 180}, i, 10);
  recorder_->WaitForPackets(30);
  controller_->SetRoiConfig({{0, 0, 160, 180, -12}});
  for (int i = 30; i < 60; ++i) Write({320, 180}, i, 10);
  recorder_->WaitForPackets(60);
  controller_->SetRoiConfig({});
  for (int i = 60; i < 90; ++i) Write({320, 180}, i, 10);
  controller_->Stop(kLongWaitMs);
  const auto pictures = Decode();
  ASSERT_THAT(pictures, SizeIs(90));
  const auto left_psnr = [&](std::size_t begin, std::size_t end) {
    double sum = 0;
    for (std::size_t i = begin; i < end; ++i) sum += LeftLumaPsnr(frames_[i], pictures[i]);
    return sum / static_cast<double>(end - begin);
  };
  EXPECT_GT(left_psnr(45, 60), left_psnr(15, 30) + 2);
  EXPECT_LT(left_psnr(75, 90), left_psnr(45, 60) - 2);
  EXPECT_EQ(controller_->GetStats().record.key_frames, 2U);
}

TEST_F(X264StreamTest, WhatFollowsAnEndMarkDecodesByItself) {
  for (int i = 0; i < 10; ++i) Write({320, 180}, i);
  track_->GetWriter()->WriteEnd(video::StreamEnd());
  for (int i = 10; i < 20; ++i) Write({320, 180}, i);
  controller_->Start();
  controller_->Stop(kLongWaitMs);
  EXPECT_THAT(recorder_->ends(), SizeIs(1));
  std::vector<std::vector<std::uint8_t>> packets;
  for (const auto& packet : recorder_->packets()) packets.push_back(packet.bytes);
  ASSERT_THAT(packets, SizeIs(20));
  const auto pictures = DecodePackets({packets.begin() + 10, packets.end()});
  ASSERT_THAT(pictures, SizeIs(10));
  for (std::size_t i = 0; i < 10; ++i) {
    EXPECT_GT(LumaPsnr(frames_[10 + i], pictures[i]), 28) << i;
  }
}

TEST_F(X264StreamTest, TimeStampsThatJumpBackTwiceCostNoPicture) {
  for (const int begin : {100, 50, 0}) {
    for (int i = begin; i < begin + 10; ++i) Write({320, 180}, i);
  }
  controller_->Start();
  controller_->Stop(kLongWaitMs);
  const auto pictures = Decode();
  ASSERT_THAT(pictures, SizeIs(30));
  for (std::size_t i = 0; i < 30; ++i) EXPECT_GT(LumaPsnr(frames_[i], pictures[i]), 28) << i;
  EXPECT_THAT(client_->errors, ::testing::IsEmpty());
}

TEST_F(X264StreamTest, PropertyAndStatisticsTellWhatRuns) {
  controller_->Start();
  Write({320, 180}, 0);
  recorder_->WaitForPackets(1);
  main_loop_.RunPosted();
  ASSERT_THAT(client_->changes, SizeIs(1));
  EXPECT_EQ(client_->changes[0].to.codec, 1);
  EXPECT_EQ(client_->changes[0].to.size, (std::int64_t{320} << 32) | 180);
  EXPECT_EQ(controller_->GetStats().implementation, client_->changes[0].to.implementation);
  EXPECT_GT(controller_->GetStats().record.encode_time_max_us, 0U);
  EXPECT_GE(controller_->GetStats().record.latency_max_us,
            controller_->GetStats().record.encode_time_max_us);
}

TEST_F(X264StreamTest, AnOddSizeIsAnErrorAndTheEndStillArrives) {
  track_->GetWriter()->Write(Redescribed(
      PaintFrame({322, 180}, 0), [](video::PixelFrameInfo& info) { info.size.width = 321; }));
  track_->GetWriter()->WriteEnd(video::StreamEnd());
  controller_->Start();
  recorder_->WaitForEnd();
  main_loop_.RunPosted();
  ASSERT_THAT(client_->errors, SizeIs(1));
  EXPECT_EQ(client_->errors[0].error, VideoEncoderError::kOpenFailed);
}

TEST_F(X264StreamTest, ChangesThatItCannotTakeLeaveTheStreamAsItWas) {
  EncodeParams params;
  params.width = 320;
  params.height = 180;
  params.frame_rate = 30;
  controller_->SetEncodeParams(params);
  controller_->Start();
  int index = 0;
  const auto write = [&](int count) {
    for (int i = 0; i < count; ++i) Write({320, 180}, index++);
    recorder_->WaitForPackets(static_cast<std::size_t>(index));
  };
  write(5);
  std::vector<EncodeParams> bad(5);
  bad[0].width = 321;
  bad[0].height = 181;
  bad[1].frame_rate = -30;
  bad[2].frame_rate = 0;
  bad[3].preset = "warp";
  bad[4].bitrate_bps = -1;
  for (const EncodeParams& change : bad) {
    controller_->SetEncodeParams(change);
    write(5);
  }
  main_loop_.RunPosted();
  ASSERT_THAT(client_->errors, SizeIs(bad.size()));
  for (const auto& error : client_->errors) {
    EXPECT_EQ(error.error, VideoEncoderError::kReconfigureFailed) << error.text;
  }
  EXPECT_THAT(client_->errors[0].text, ::testing::HasSubstr("321x181"));
  EXPECT_THAT(client_->errors[3].text, ::testing::HasSubstr("warp"));

  EncodeParams good;
  good.frame_rate = 15;
  controller_->SetEncodeParams(good);
  for (int i = 0; i < 30; ++i) Write({320, 180}, index++);
  controller_->Stop(kLongWaitMs);
  const auto pictures = Decode();
  ASSERT_THAT(pictures, SizeIs(30 + 15));
  for (std::size_t i = 0; i < 30; ++i) {
    EXPECT_GT(LumaPsnr(frames_[i], pictures[i]), 28) << i;
    EXPECT_EQ(pictures[i].key_frame, i == 0) << i;
  }
}

TEST_F(X264StreamTest, ALosslessSourceLosesNothingThroughATrackOfOneFrame) {
  const auto narrow = IPixelFrameTrack::Create("narrow", 1);
  controller_->SetInputTrackReader(narrow->GetReader());
  controller_->Start();
  std::mutex mutex;
  std::condition_variable room;
  narrow->GetWriter()->SetRoomCallback([&] {
    const std::lock_guard lock(mutex);
    room.notify_all();
  });
  for (int i = 0; i < 60; ++i) {
    std::unique_lock lock(mutex);
    room.wait(lock, [&] { return narrow->GetWriter()->HasRoom(); });
    lock.unlock();
    ASSERT_EQ(narrow->GetWriter()->Write(PaintFrame({64, 48}, i)),
              video::TrackWriteResult::kAccepted);
  }
  narrow->GetWriter()->WriteEnd(video::StreamEnd());
  recorder_->WaitForEnd();
  narrow->GetWriter()->SetRoomCallback({});
  ASSERT_THAT(recorder_->packets(), SizeIs(60));
  for (std::size_t i = 0; i < 60; ++i) EXPECT_EQ(recorder_->packets()[i].frame.sequence, i);
}

}  // namespace
}  // namespace movra::media
