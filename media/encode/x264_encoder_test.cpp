#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "media/bitstream/annex_b.h"
#include "media/bitstream/h264.h"
#include "media/encode/encode_for_test.h"
#include "media/encode/encoder_registry.h"
#include "media/ffmpeg/decode_for_test.h"

// The library behind the seam, opened by itself.

namespace movra::media {
namespace {

using ::testing::HasSubstr;
using ::testing::SizeIs;
using video::PixelFormat;
using video::Size;
using video::VideoEncoderError;

constexpr Size kSize{320, 180};
constexpr int kRate = 30;

EncoderSettings Settings(int bitrate_kbps) {
  video::EncodeParams params;
  params.bitrate_bps = bitrate_kbps * 1000;
  params.frame_rate = kRate;
  return ResolveEncoderSettings(params, {}, kSize);
}

// By the pictures' nal_ref_idc (ITU-T H.264, 7.4.1).
bool IsReferenced(std::span<const std::uint8_t> bytes) {
  const auto units = NalUnits(bytes);
  return std::any_of(units.begin(), units.end(), [](auto unit) { return unit[0] >> 5 != 0; });
}

class X264EncoderTest : public ::testing::Test {
 protected:
  void Open(const EncoderSettings& settings, const StreamFormat& format = {kSize, {}}) {
    encoder_ = EncoderRegistry::OfThisBuild().Open(settings, format, failure_);
    ASSERT_NE(encoder_, nullptr) << failure_.text;
  }

  // Encodes picture `index` and keeps its packet.
  void Encode(int index, bool key_frame = false, int rate = kRate, int noise = 20,
              PixelFormat format = PixelFormat::kI420) {
    frames_.push_back(PaintFrame(kSize, index, rate, noise, format));
    const std::int64_t ticks = std::int64_t{index} * 90'000 / rate;
    ASSERT_TRUE(encoder_->Submit(frames_.back(), ticks, key_frame, failure_)) << failure_.text;
    const auto picture = encoder_->Take(failure_);
    ASSERT_TRUE(picture.has_value()) << failure_.text;
    EXPECT_EQ(picture->ticks, ticks);
    EXPECT_EQ(picture->temporal_layer, 0);
    EXPECT_EQ(picture->referenced, IsReferenced({picture->data, picture->size_bytes}));
    EXPECT_EQ(picture->key_frame, h264::IsKeyFrame({picture->data, picture->size_bytes}));
    packets_.emplace_back(picture->data, picture->data + picture->size_bytes);
    keys_.push_back(picture->key_frame);
  }

  // Bits per second of the packets [begin, end) at the rate.
  double MeasuredKbps(std::size_t begin, std::size_t end, int rate = kRate) const {
    std::size_t bytes = 0;
    for (std::size_t i = begin; i < end; ++i) bytes += packets_[i].size();
    return static_cast<double>(bytes) * 8 / 1000 * rate / static_cast<double>(end - begin);
  }

  double MeanPsnr(std::size_t begin) const {
    const auto pictures = DecodePackets(packets_);
    double sum = 0;
    for (std::size_t i = begin; i < pictures.size(); ++i) sum += LumaPsnr(frames_[i], pictures[i]);
    return sum / static_cast<double>(pictures.size() - begin);
  }

  EncoderFailure failure_;
  std::unique_ptr<IFrameEncoder> encoder_;
  std::vector<video::PixelFrame> frames_;
  std::vector<std::vector<std::uint8_t>> packets_;
  std::vector<bool> keys_;
};

TEST_F(X264EncoderTest, EveryFrameGivesItsPictureAtOnceAndInOrder) {
  Open(Settings(600));
  for (int i = 0; i < 40; ++i) Encode(i, false, kRate, 0);
  const auto pictures = DecodePackets(packets_);
  ASSERT_THAT(pictures, SizeIs(40));
  for (std::size_t i = 0; i < pictures.size(); ++i) {
    EXPECT_GT(LumaPsnr(frames_[i], pictures[i]), 32) << i;
    EXPECT_EQ(pictures[i].key_frame, i == 0) << i;
  }
}

TEST_F(X264EncoderTest, Nv12GivesTheSamePicturesAsI420) {
  Open(Settings(600));
  for (int i = 0; i < 5; ++i) Encode(i);
  const auto i420 = std::exchange(packets_, {});
  Open(Settings(600));
  for (int i = 0; i < 5; ++i) Encode(i, false, kRate, 20, PixelFormat::kNV12);
  EXPECT_EQ(packets_, i420);
}

TEST_F(X264EncoderTest, AKeyFrameOnRequestCarriesItsParameterSets) {
  Open(Settings(600));
  for (int i = 0; i < 6; ++i) Encode(i, i == 3);
  EXPECT_EQ(keys_, (std::vector<bool>{true, false, false, true, false, false}));
  // A decoder that begins there needs nothing of what was before.
  const auto pictures = DecodePackets({packets_.begin() + 3, packets_.end()});
  ASSERT_THAT(pictures, SizeIs(3));
  EXPECT_GT(LumaPsnr(frames_[3], pictures[0]), 25);
}

// A text of the library about itself would cost the first second of a small stream a tenth of it.
TEST_F(X264EncoderTest, AKeyFrameHoldsParameterSetsAndThePictureAlone) {
  Open(Settings(600));
  Encode(0);
  const std::vector<std::uint8_t>& bytes = packets_[0];
  std::vector<int> unit_types;
  for (std::size_t i = 0; i + 3 < bytes.size(); ++i) {
    const bool is_start = bytes[i] == 0 && bytes[i + 1] == 0 && bytes[i + 2] == 1;
    if (is_start) unit_types.push_back(bytes[i + 3] % 32);
  }
  EXPECT_THAT(unit_types, ::testing::ElementsAre(7, 8, 5));
}

TEST_F(X264EncoderTest, BetweenTwoFramesNothingIsInside) {
  Open(Settings(600));
  for (int i = 0; i < 3; ++i) Encode(i);
  EXPECT_FALSE(encoder_->Take(failure_).has_value());
  EXPECT_TRUE(encoder_->Flush(failure_));
  EXPECT_FALSE(encoder_->Take(failure_).has_value());
  EXPECT_EQ(failure_.code, VideoEncoderError::kNone);
  // And it goes on behind it.
  EXPECT_TRUE(encoder_->CanGoOn());
  Encode(3);
  EXPECT_FALSE(keys_.back());
}

TEST_F(X264EncoderTest, ItsParameterSetsSayProfileAndLevel) {
  Open(Settings(600));
  Encode(0);
  EXPECT_EQ(h264::CodecsString(packets_[0]), "avc1.64000D");
}

TEST_F(X264EncoderTest, NoKeyFrameComesUnasked) {
  Open(Settings(600));
  for (int i = 0; i < 300; ++i) Encode(i, false, kRate, 0);
  EXPECT_EQ(std::count(keys_.begin(), keys_.end(), true), 1);
}

TEST_F(X264EncoderTest, ANewBitRateTakesEffectWithoutAKeyFrame) {
  Open(Settings(800));
  for (int i = 0; i < 120; ++i) Encode(i);
  ASSERT_TRUE(encoder_->Reconfigure(Settings(250)));
  for (int i = 120; i < 240; ++i) Encode(i);
  ASSERT_TRUE(encoder_->Reconfigure(Settings(1500)));
  for (int i = 240; i < 360; ++i) Encode(i);
  // Measured after a second, in which the rate control settles.
  EXPECT_NEAR(MeasuredKbps(30, 120), 800, 240);
  EXPECT_NEAR(MeasuredKbps(150, 240), 250, 75);
  EXPECT_NEAR(MeasuredKbps(270, 360), 1500, 450);
  EXPECT_EQ(std::count(keys_.begin(), keys_.end(), true), 1);
  EXPECT_THAT(DecodePackets(packets_), SizeIs(360));
}

TEST_F(X264EncoderTest, TheBitRateHoldsWhateverTheFrameRateTurnsOutToBe) {
  // Opened for 30 frames per second; 10 come.
  Open(Settings(500));
  for (int i = 0; i < 80; ++i) Encode(i, false, 10);
  EXPECT_NEAR(MeasuredKbps(20, 80, 10), 500, 150);
  EXPECT_THAT(DecodePackets(packets_), SizeIs(80));
}

TEST_F(X264EncoderTest, ANewNominalRateSharesTheBitsOutAtOnce) {
  EncoderSettings settings = Settings(500);
  settings.nominal_rate = {10, 1};
  Open(settings);
  for (int i = 0; i < 40; ++i) Encode(i, false, 10);
  settings.nominal_rate = {30, 1};
  ASSERT_TRUE(encoder_->Reconfigure(settings));
  for (int i = 120; i < 210; ++i) Encode(i);
  // To measure the new rate takes half a second, in which three times as much would come.
  EXPECT_LT(MeasuredKbps(40, 52), 800);
  EXPECT_NEAR(MeasuredKbps(70, 130), 500, 150);
  EXPECT_EQ(std::count(keys_.begin(), keys_.end(), true), 1);
}

TEST_F(X264EncoderTest, PresetAndThreadsCannotChangeInPlace) {
  Open(Settings(500));
  EncoderSettings settings = Settings(500);
  settings.preset = "ultrafast";
  EXPECT_FALSE(encoder_->Reconfigure(settings));
  settings = Settings(500);
  settings.threads = 2;
  EXPECT_FALSE(encoder_->Reconfigure(settings));
  EXPECT_TRUE(encoder_->Reconfigure(Settings(500)));
}

TEST_F(X264EncoderTest, SeveralThreadsStillGiveEveryPictureAtOnce) {
  EncoderSettings settings = Settings(500);
  settings.threads = 2;
  Open(settings);
  EXPECT_THAT(encoder_->Describe(), HasSubstr("2 threads"));
  for (int i = 0; i < 10; ++i) Encode(i);
  EXPECT_THAT(DecodePackets(packets_), SizeIs(10));
}

TEST_F(X264EncoderTest, ItDescribesItself) {
  Open(Settings(500));
  EXPECT_THAT(encoder_->Describe(), ::testing::MatchesRegex("libx264 [0-9]+, veryfast, 1 thread"));
}

TEST_F(X264EncoderTest, TheColourIsInTheStream) {
  for (const video::ColorDescription color :
       {video::ColorDescription{1, 1, 1, false}, video::ColorDescription{6, 6, 6, true},
        video::ColorDescription{}}) {
    packets_.clear();
    Open(Settings(500), {kSize, color});
    Encode(0);
    const auto pictures = DecodePackets(packets_);
    ASSERT_THAT(pictures, SizeIs(1));
    EXPECT_EQ(pictures[0].color, color);
  }
}

TEST_F(X264EncoderTest, ARegionIsBetterThanTheRestAtTheSameBitRate) {
  // The left half, from nothing to much better.
  const auto left_psnr = [this](const std::vector<video::RoiConfigInfo>& regions,
                                const std::string& preset) {
    frames_.clear();
    packets_.clear();
    EncoderSettings settings = Settings(1500);
    settings.preset = preset;
    settings.regions = regions;
    Open(settings);
    for (int i = 0; i < 30; ++i) Encode(i, false, kRate, 10);
    const auto pictures = DecodePackets(packets_);
    double sum = 0;
    for (std::size_t i = 15; i < pictures.size(); ++i) {
      sum += LeftLumaPsnr(frames_[i], pictures[i]);
    }
    return sum / 15;
  };
  const std::vector<video::RoiConfigInfo> left{{0, 0, 160, 180, -12}};
  EXPECT_GT(left_psnr(left, "veryfast"), left_psnr({}, "veryfast") + 2);
  // The fastest preset has the machinery for regions off unless it is asked for.
  EXPECT_GT(left_psnr(left, "ultrafast"), left_psnr({}, "ultrafast") + 2);
}

TEST_F(X264EncoderTest, RegionsCanComeLaterUnlessThePresetHasNoPlaceForThem) {
  EncoderSettings settings = Settings(500);
  Open(settings);
  settings.regions = {{0, 0, 16, 16, -5}};
  EXPECT_TRUE(encoder_->Reconfigure(settings));
  Encode(0);
  settings.preset = "ultrafast";
  settings.regions = {};
  Open(settings);
  settings.regions = {{0, 0, 16, 16, -5}};
  EXPECT_FALSE(encoder_->Reconfigure(settings));
}

TEST_F(X264EncoderTest, AnUnknownPresetIsRefusedWithTheOnesThatThereAre) {
  EncoderSettings settings = Settings(500);
  settings.preset = "warp";
  EXPECT_EQ(EncoderRegistry::OfThisBuild().Open(settings, {kSize, {}}, failure_), nullptr);
  EXPECT_EQ(failure_.code, VideoEncoderError::kOpenFailed);
  EXPECT_THAT(failure_.text, HasSubstr("'warp'"));
  EXPECT_THAT(failure_.text, HasSubstr("ultrafast, superfast"));
}

TEST_F(X264EncoderTest, ASizeThatItCannotEncodeIsRefusedByName) {
  for (const Size& size : {Size{321, 180}, Size{320, 181}, Size{16'386, 180}, Size{0, 0}}) {
    EXPECT_EQ(EncoderRegistry::OfThisBuild().Open(Settings(500), {size, {}}, failure_), nullptr);
    EXPECT_EQ(failure_.code, VideoEncoderError::kOpenFailed);
    EXPECT_THAT(failure_.text,
                HasSubstr(std::to_string(size.width) + "x" + std::to_string(size.height)));
  }
  Open(Settings(500), {{2, 2}, {}});
}

}  // namespace
}  // namespace movra::media
