#include "media/file/y4m_reader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <variant>
#include <vector>

#include "media/capture/camera_error.h"
#include "media/frame/frame_layout.h"
#include "media/temporary_directory_for_test.h"

namespace movra::media {
namespace {

using std::chrono::nanoseconds;
using testing::HasSubstr;

constexpr video::Size kOdd{6, 5};  // Chroma is 3x3.
constexpr std::size_t kFrameBytes = 6 * 5 + 2 * 3 * 3;

// The samples of a frame, each different from its neighbours.
std::string Samples(int frame) {
  std::string samples;
  for (std::size_t i = 0; i < kFrameBytes; ++i) {
    samples += static_cast<char>((static_cast<std::size_t>(frame) * 50 + i * 3) & 0xFF);
  }
  return samples;
}

std::string SamplesOf(const video::PixelFrame& frame) {
  std::string samples;
  for (std::size_t plane = 0; plane < 3; ++plane) {
    const PlaneLayout layout = LayoutOf(frame.info().format, frame.info().size, plane);
    for (int y = 0; y < layout.samples.height; ++y) {
      const std::uint8_t* const row =
          frame.info().planes[plane].data + std::ptrdiff_t{y} * frame.info().planes[plane].stride;
      samples.append(row, row + layout.row_bytes());
    }
  }
  return samples;
}

class Y4mReaderTest : public testing::Test {
 protected:
  std::string Write(const std::string& content) {
    std::ofstream(path_, std::ios::binary) << content;
    return path_;
  }

  // With as many frames, each behind a mark.
  static std::string Clip(int frames, const std::string& words = "",
                          const std::string& mark = "FRAME\n") {
    std::string clip = "YUV4MPEG2 W6 H5 F30000:1001" + words + "\n";
    for (int i = 0; i < frames; ++i) clip += mark + Samples(i);
    return clip;
  }

  video::PixelFrame NextFrame() {
    const SourceItem item = reader_.Next();
    const auto* const frame = std::get_if<SourceFrame>(&item);
    return frame == nullptr ? video::PixelFrame() : frame->frame;
  }

  video::StreamEnd NextEnd() {
    const SourceItem item = reader_.Next();
    const auto* const end = std::get_if<video::StreamEnd>(&item);
    return end == nullptr ? video::StreamEnd{-1, "no end", 0} : *end;
  }

  const TemporaryDirectory directory_;
  const std::string path_ = directory_.path() / "clip.y4m";
  Y4mReader reader_;
};

TEST_F(Y4mReaderTest, DescribesTheFile) {
  ASSERT_TRUE(Y4mReader::CanRead(Write(Clip(3, " A2:1"))));
  const video::CameraInfo info = reader_.Open(path_);
  EXPECT_EQ(info.error_code, 0);
  EXPECT_TRUE(info.traits.replayable);
  EXPECT_FALSE(info.has_audio);
  EXPECT_EQ(info.natural_size, (video::Size{12, 5}));
  EXPECT_EQ(info.rate_numerator, 30000);
  EXPECT_EQ(info.rate_denominator, 1001);
  EXPECT_EQ(info.duration, nanoseconds(100'100'000));
}

TEST_F(Y4mReaderTest, DeliversEverySampleOfEachFrameThenTheEnd) {
  static_cast<void>(reader_.Open(Write(Clip(2, " XCOLORRANGE=FULL"))));
  for (int i = 0; i < 2; ++i) {
    const video::PixelFrame frame = NextFrame();
    ASSERT_TRUE(frame);
    EXPECT_EQ(frame.info().size, kOdd);
    EXPECT_EQ(frame.info().format, video::PixelFormat::kI420);
    EXPECT_TRUE(frame.info().color.full_range);
    EXPECT_EQ(frame.info().sequence, static_cast<std::uint64_t>(i));
    EXPECT_EQ(SamplesOf(frame), Samples(i));
  }
  const video::StreamEnd end = NextEnd();
  EXPECT_EQ(end.error_code, 0);
  EXPECT_EQ(end.damaged_frames, 0U);
}

TEST_F(Y4mReaderTest, PicturesWithoutGapsBetweenTheirRowsArriveWhole) {
  std::string luma(64 * 2, '\0');
  for (std::size_t i = 0; i < luma.size(); ++i) luma[i] = static_cast<char>(i);
  const std::string chroma(32, '\x55');
  Write("YUV4MPEG2 W64 H2 F25:1\nFRAME\n" + luma + chroma + chroma);
  static_cast<void>(reader_.Open(path_));
  EXPECT_EQ(SamplesOf(NextFrame()), luma + chroma + chroma);
}

// More rows than one call may be told of.
TEST_F(Y4mReaderTest, ATallPictureArrivesWhole) {
  constexpr int kHeight = 3001;
  const auto bytes = static_cast<std::size_t>(12 * kHeight + 2 * 6 * ((kHeight + 1) / 2));
  std::string samples;
  for (std::size_t i = 0; i < bytes; ++i) samples += static_cast<char>(i * 7 + i / 251);
  Write("YUV4MPEG2 W12 H" + std::to_string(kHeight) + " F25:1\nFRAME\n" + samples);
  static_cast<void>(reader_.Open(path_));
  const video::PixelFrame frame = NextFrame();
  ASSERT_GT(frame.info().planes[0].stride, 12) << "or the rows are one piece";
  EXPECT_TRUE(SamplesOf(frame) == samples);
  EXPECT_EQ(NextEnd().error_code, 0);
}

TEST_F(Y4mReaderTest, TimeStampsAreTheNearestNanosecondsAtAnyFrame) {
  static_cast<void>(reader_.Open(Write(Clip(3))));
  EXPECT_EQ(NextFrame().info().timestamp, nanoseconds(0));
  EXPECT_EQ(NextFrame().info().timestamp, nanoseconds(33'366'667));
  EXPECT_EQ(NextFrame().info().timestamp, nanoseconds(66'733'333));
}

TEST_F(Y4mReaderTest, TimeStampsGrowAtTheSlowestRateThereIs) {
  std::string clip = "YUV4MPEG2 W6 H5 F1:2147483647\n";
  for (int i = 0; i < 8; ++i) clip += "FRAME\n" + Samples(i);
  const video::CameraInfo info = reader_.Open(Write(clip));
  ASSERT_EQ(info.error_code, 0);
  nanoseconds last{-1};
  for (int i = 0; i < 8; ++i) {
    const nanoseconds time = NextFrame().info().timestamp;
    EXPECT_GT(time, last) << i;
    last = time;
  }
  EXPECT_GT(info.duration, last);
}

TEST_F(Y4mReaderTest, TheMarkOfAFrameMayCarryWords) {
  static_cast<void>(reader_.Open(Write(Clip(2, "", "FRAME Ip Xsome=thing\n"))));
  EXPECT_EQ(SamplesOf(NextFrame()), Samples(0));
  EXPECT_EQ(SamplesOf(NextFrame()), Samples(1));
  EXPECT_EQ(NextEnd().error_code, 0);
}

TEST_F(Y4mReaderTest, AFileThatStopsWithinAFrameBreaksOff) {
  const std::string clip = Clip(3);
  static_cast<void>(reader_.Open(Write(clip.substr(0, clip.size() - 1))));
  EXPECT_TRUE(NextFrame());
  EXPECT_TRUE(NextFrame());
  const video::StreamEnd end = NextEnd();
  EXPECT_EQ(end.error_code, static_cast<std::int32_t>(CameraError::kBrokenOff));
  EXPECT_THAT(end.reason, HasSubstr("breaks off after 0.07 s"));
  EXPECT_EQ(end.damaged_frames, 1U);
}

TEST_F(Y4mReaderTest, SomethingElseWhereAFrameShouldBeginIsABreak) {
  static_cast<void>(reader_.Open(Write(Clip(1) + "FRAMbled\n" + Samples(1))));
  EXPECT_TRUE(NextFrame());
  EXPECT_EQ(NextEnd().error_code, static_cast<std::int32_t>(CameraError::kBrokenOff));
}

TEST_F(Y4mReaderTest, AFileWithoutAFrameSaysSo) {
  static_cast<void>(reader_.Open(Write(Clip(0))));
  EXPECT_EQ(NextEnd().error_code, static_cast<std::int32_t>(CameraError::kNothingDecoded));
  EXPECT_FALSE(reader_.Rewind());
}

TEST_F(Y4mReaderTest, RewoundItBeginsAgainAndTimeGoesOn) {
  const std::string clip = Clip(2);
  static_cast<void>(reader_.Open(Write(clip + "FRAME\nbroken")));
  EXPECT_TRUE(NextFrame());
  EXPECT_TRUE(NextFrame());
  EXPECT_NE(NextEnd().error_code, 0);
  ASSERT_TRUE(reader_.Rewind());
  const video::PixelFrame frame = NextFrame();
  EXPECT_EQ(SamplesOf(frame), Samples(0));
  EXPECT_EQ(frame.info().timestamp, nanoseconds(66'733'333));
  EXPECT_EQ(frame.info().sequence, 3U);  // The one that was lost leaves a gap.
  EXPECT_EQ(frame.info().damaged_frames, 1U);
}

TEST_F(Y4mReaderTest, OpenedAgainItBeginsAnew) {
  static_cast<void>(reader_.Open(Write(Clip(2))));
  EXPECT_TRUE(NextFrame());
  static_cast<void>(reader_.Open(path_));
  const video::PixelFrame frame = NextFrame();
  EXPECT_EQ(SamplesOf(frame), Samples(0));
  EXPECT_EQ(frame.info().sequence, 0U);
}

TEST_F(Y4mReaderTest, InterruptedItDeliversNothing) {
  static_cast<void>(reader_.Open(Write(Clip(2))));
  reader_.Interrupt();
  EXPECT_TRUE(std::holds_alternative<std::monostate>(reader_.Next()));
}

TEST_F(Y4mReaderTest, OnlyFilesOfThisKindMakeACamera) {
  EXPECT_EQ(MakeY4mSource(path_, {}), nullptr);
  EXPECT_EQ(MakeY4mSource(directory_.path(), {}), nullptr);
  EXPECT_EQ(MakeY4mSource(Write("no video"), {}), nullptr);
  EXPECT_EQ(MakeY4mSource(Write(Clip(1, " C444")), {}), nullptr);
  EXPECT_NE(MakeY4mSource(Write(Clip(1)), {}), nullptr);
  std::filesystem::remove(path_);
  EXPECT_EQ(reader_.Open(path_).error_code, static_cast<std::int32_t>(CameraError::kCannotOpen));
}

TEST_F(Y4mReaderTest, AFileIsReadWithoutLosingAFrameOrAtItsOwnPaceAndLoopsIfAsked) {
  Write(Clip(1));
  const auto fast = MakeY4mSource(path_, {.loop = true, .realtime = false});
  EXPECT_EQ(fast->Open({}).error_code, 0);
  EXPECT_EQ(fast->Policy().delivery, video::FrameDelivery::kLossless);
  for (int i = 0; i < 3; ++i) {
    EXPECT_TRUE(std::holds_alternative<SourceFrame>(fast->Read({}))) << i;
  }
  const auto paced = MakeY4mSource(path_, {.loop = false, .realtime = true});
  EXPECT_EQ(paced->Open({}).error_code, 0);
  EXPECT_TRUE(paced->Policy().paced);
  EXPECT_EQ(paced->Policy().delivery, video::FrameDelivery::kLive);
  EXPECT_TRUE(std::holds_alternative<SourceFrame>(paced->Read({})));
  EXPECT_TRUE(std::holds_alternative<video::StreamEnd>(paced->Read({})));
}

}  // namespace
}  // namespace movra::media
