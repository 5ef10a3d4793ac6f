// What every open encoder promises (media/encode/frame_encoder.h), whichever library compresses.
// The suite for the source that includes this and says with INSTANTIATE_TEST_SUITE_P which encoders
// it is run on.

#ifndef MOVRA_MEDIA_ENCODE_FRAME_ENCODER_CONTRACT_FOR_TEST_H_
#define MOVRA_MEDIA_ENCODE_FRAME_ENCODER_CONTRACT_FOR_TEST_H_

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <ostream>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "media/encode/encode_for_test.h"
#include "media/encode/frame_encoder.h"

namespace movra::media {

struct EncoderCase {
  std::string name;
  video::PixelFormat format = video::PixelFormat::kI420;
  EncoderSettings settings;
  FrameEncoderFactory open;
  // Opens what cannot be opened.
  FrameEncoderFactory open_in_vain;
};

inline void PrintTo(const EncoderCase& encoder, std::ostream* out) { *out << encoder.name; }

class FrameEncoderContract : public ::testing::TestWithParam<EncoderCase> {
 protected:
  static constexpr video::Size kSize{64, 48};
  static constexpr std::int64_t kTicksPerFrame = 3000;

  struct Picture {
    std::int64_t ticks = 0;
    bool key_frame = false;
    std::vector<std::uint8_t> bytes;

    friend bool operator==(const Picture&, const Picture&) = default;
  };

  [[nodiscard]] std::unique_ptr<IFrameEncoder> Open() {
    auto encoder = GetParam().open(GetParam().settings, {kSize, {}}, failure_);
    EXPECT_NE(encoder, nullptr) << failure_.text;
    return encoder;
  }

  [[nodiscard]] static video::PixelFrame Paint(int index) {
    return PaintFrame(kSize, index, 30, 20, GetParam().format);
  }
  [[nodiscard]] static std::int64_t TicksOf(int index) { return index * kTicksPerFrame; }

  void Submit(IFrameEncoder& encoder, int index, bool key_frame = false) {
    ASSERT_TRUE(encoder.Submit(Paint(index), TicksOf(index), key_frame, failure_)) << failure_.text;
  }

  // Adds all that is ready.
  void TakeAll(IFrameEncoder& encoder, std::vector<Picture>& pictures) {
    while (const auto picture = encoder.Take(failure_)) {
      ASSERT_NE(picture->data, nullptr);
      ASSERT_GT(picture->size_bytes, 0U);
      EXPECT_GE(picture->temporal_layer, 0);
      pictures.push_back({picture->ticks,
                          picture->key_frame,
                          {picture->data, picture->data + picture->size_bytes}});
    }
    EXPECT_EQ(failure_.code, video::VideoEncoderError::kNone) << failure_.text;
  }

  void FlushAll(IFrameEncoder& encoder, std::vector<Picture>& pictures) {
    ASSERT_TRUE(encoder.Flush(failure_)) << failure_.text;
    TakeAll(encoder, pictures);
  }

  // Frames [begin, end), as a caller encodes them who follows the header.
  void Encode(IFrameEncoder& encoder, int begin, int end, std::vector<Picture>& pictures) {
    for (int i = begin; i < end; ++i) {
      Submit(encoder, i);
      TakeAll(encoder, pictures);
    }
  }

  static std::multiset<std::int64_t> TicksOf(const std::vector<Picture>& pictures) {
    std::multiset<std::int64_t> ticks;
    for (const Picture& picture : pictures) ticks.insert(picture.ticks);
    return ticks;
  }
  static std::multiset<std::int64_t> TicksOfFrames(int begin, int end) {
    std::multiset<std::int64_t> ticks;
    for (int i = begin; i < end; ++i) ticks.insert(TicksOf(i));
    return ticks;
  }
  static std::vector<std::int64_t> KeyFramesOf(const std::vector<Picture>& pictures) {
    std::vector<std::int64_t> ticks;
    for (const Picture& picture : pictures) {
      if (picture.key_frame) ticks.push_back(picture.ticks);
    }
    return ticks;
  }

  EncoderFailure failure_;
};

TEST_P(FrameEncoderContract, EachFrameGivesOnePictureSoonerOrLater) {
  const auto encoder = Open();
  ASSERT_NE(encoder, nullptr);
  std::vector<Picture> pictures;
  Encode(*encoder, 0, 9, pictures);
  EXPECT_LE(pictures.size(), 9U);
  FlushAll(*encoder, pictures);
  EXPECT_EQ(TicksOf(pictures), TicksOfFrames(0, 9));
}

TEST_P(FrameEncoderContract, ADecoderCanBeginWithTheFirstPictureAndNoOtherIsAKeyFrameUnasked) {
  const auto encoder = Open();
  ASSERT_NE(encoder, nullptr);
  std::vector<Picture> pictures;
  Encode(*encoder, 0, 9, pictures);
  FlushAll(*encoder, pictures);
  ASSERT_FALSE(pictures.empty());
  EXPECT_TRUE(pictures[0].key_frame);
  EXPECT_EQ(KeyFramesOf(pictures), (std::vector<std::int64_t>{TicksOf(0)}));
}

TEST_P(FrameEncoderContract, AKeyFrameThatWasAskedForIsThePictureOfThatFrame) {
  const auto encoder = Open();
  ASSERT_NE(encoder, nullptr);
  std::vector<Picture> pictures;
  Encode(*encoder, 0, 4, pictures);
  Submit(*encoder, 4, true);
  TakeAll(*encoder, pictures);
  Encode(*encoder, 5, 9, pictures);
  FlushAll(*encoder, pictures);
  EXPECT_EQ(TicksOf(pictures), TicksOfFrames(0, 9));
  EXPECT_EQ(KeyFramesOf(pictures), (std::vector<std::int64_t>{TicksOf(0), TicksOf(4)}));
}

TEST_P(FrameEncoderContract, NothingIsReadyWhereNothingWasSubmitted) {
  const auto encoder = Open();
  ASSERT_NE(encoder, nullptr);
  EXPECT_TRUE(encoder->CanGoOn());
  EXPECT_FALSE(encoder->Take(failure_).has_value());
  EXPECT_EQ(failure_.code, video::VideoEncoderError::kNone);
  EXPECT_TRUE(encoder->Flush(failure_));
  EXPECT_FALSE(encoder->Take(failure_).has_value());
  EXPECT_EQ(failure_.code, video::VideoEncoderError::kNone);
}

TEST_P(FrameEncoderContract, AFlushLeavesNothingInsideAndASecondOneGivesNothing) {
  const auto encoder = Open();
  ASSERT_NE(encoder, nullptr);
  std::vector<Picture> pictures;
  Encode(*encoder, 0, 5, pictures);
  FlushAll(*encoder, pictures);
  EXPECT_EQ(pictures.size(), 5U);
  FlushAll(*encoder, pictures);
  EXPECT_EQ(pictures.size(), 5U);
}

TEST_P(FrameEncoderContract, BehindAFlushItSaysWhetherItGoesOnAndThenDoes) {
  const auto encoder = Open();
  ASSERT_NE(encoder, nullptr);
  std::vector<Picture> pictures;
  Encode(*encoder, 0, 5, pictures);
  FlushAll(*encoder, pictures);
  if (!encoder->CanGoOn()) return;
  Encode(*encoder, 5, 10, pictures);
  FlushAll(*encoder, pictures);
  EXPECT_EQ(TicksOf(pictures), TicksOfFrames(0, 10));
}

TEST_P(FrameEncoderContract, AFramesSamplesAreReadDuringTheCallOnly) {
  const auto kept = Open();
  const auto overwritten = Open();
  ASSERT_NE(kept, nullptr);
  ASSERT_NE(overwritten, nullptr);
  std::vector<Picture> expected;
  Encode(*kept, 0, 6, expected);
  FlushAll(*kept, expected);

  std::vector<Picture> pictures;
  for (int i = 0; i < 6; ++i) {
    const video::PixelFrame frame = Paint(i);
    ASSERT_TRUE(overwritten->Submit(frame, TicksOf(i), false, failure_)) << failure_.text;
    // The test painted the samples, so they are its own to write to.
    const video::PixelPlane& luma = frame.info().planes[0];
    for (int y = 0; y < kSize.height; ++y) {
      std::fill_n(const_cast<std::uint8_t*>(luma.data) + std::ptrdiff_t{y} * luma.stride,
                  kSize.width, std::uint8_t{255});
    }
    TakeAll(*overwritten, pictures);
  }
  FlushAll(*overwritten, pictures);
  EXPECT_EQ(pictures, expected);
}

TEST_P(FrameEncoderContract, TimesMayGrowAsTheyLike) {
  const auto encoder = Open();
  ASSERT_NE(encoder, nullptr);
  std::vector<Picture> pictures;
  std::multiset<std::int64_t> submitted;
  std::int64_t ticks = 7;
  for (const std::int64_t step : {1, 90'000, 3000, 1, 1'000'000'000, 2, 3000}) {
    ticks += step;
    submitted.insert(ticks);
    ASSERT_TRUE(encoder->Submit(Paint(0), ticks, false, failure_)) << failure_.text;
    TakeAll(*encoder, pictures);
  }
  FlushAll(*encoder, pictures);
  EXPECT_EQ(TicksOf(pictures), submitted);
}

TEST_P(FrameEncoderContract, SettingsThatItTakesOverCostNoKeyFrameAndLoseNothing) {
  const auto encoder = Open();
  ASSERT_NE(encoder, nullptr);
  std::vector<Picture> pictures;
  Encode(*encoder, 0, 5, pictures);
  EncoderSettings settings = GetParam().settings;
  settings.bitrate_kbps *= 2;
  settings.max_bitrate_kbps *= 2;
  settings.buffer_kbit *= 2;
  const bool taken_over = encoder->Reconfigure(settings);
  // Otherwise it is flushed and closed: what was inside comes out all the same.
  if (taken_over) Encode(*encoder, 5, 10, pictures);
  FlushAll(*encoder, pictures);
  EXPECT_EQ(TicksOf(pictures), TicksOfFrames(0, taken_over ? 10 : 5));
  EXPECT_EQ(KeyFramesOf(pictures), (std::vector<std::int64_t>{TicksOf(0)}));
}

TEST_P(FrameEncoderContract, TheSettingsThatItHasMayBeToldItAgainAtAnyTime) {
  const auto encoder = Open();
  ASSERT_NE(encoder, nullptr);
  if (!encoder->Reconfigure(GetParam().settings)) return;  // It is to be closed.
  std::vector<Picture> pictures;
  Encode(*encoder, 0, 3, pictures);
  EXPECT_TRUE(encoder->Reconfigure(GetParam().settings));
  EXPECT_TRUE(encoder->Reconfigure(GetParam().settings));
  Encode(*encoder, 3, 6, pictures);
  EXPECT_TRUE(encoder->CanGoOn());
  FlushAll(*encoder, pictures);
  EXPECT_EQ(TicksOf(pictures), TicksOfFrames(0, 6));
}

TEST_P(FrameEncoderContract, MayGoWithFramesInsideAndPicturesReady) {
  const auto encoder = Open();
  ASSERT_NE(encoder, nullptr);
  for (int i = 0; i < 5; ++i) Submit(*encoder, i);
}

TEST_P(FrameEncoderContract, TwoOfThemKnowNothingOfEachOther) {
  const auto alone = Open();
  const auto first = Open();
  const auto second = Open();
  ASSERT_NE(alone, nullptr);
  ASSERT_NE(first, nullptr);
  ASSERT_NE(second, nullptr);
  std::vector<Picture> expected;
  Encode(*alone, 0, 6, expected);
  FlushAll(*alone, expected);
  std::vector<Picture> pictures;
  std::vector<Picture> others;
  for (int i = 0; i < 6; ++i) {
    Encode(*first, i, i + 1, pictures);
    Encode(*second, 100 + i, 101 + i, others);
  }
  FlushAll(*first, pictures);
  FlushAll(*second, others);
  EXPECT_EQ(pictures, expected);
  EXPECT_EQ(TicksOf(others), TicksOfFrames(100, 106));
}

TEST_P(FrameEncoderContract, SaysInWordsWhatItIs) {
  const auto encoder = Open();
  ASSERT_NE(encoder, nullptr);
  EXPECT_NE(encoder->Describe(), "");
}

TEST_P(FrameEncoderContract, WhatCannotBeOpenedIsNullAndSaysWhy) {
  EXPECT_EQ(GetParam().open_in_vain(GetParam().settings, {{0, 0}, {}}, failure_), nullptr);
  EXPECT_NE(failure_.code, video::VideoEncoderError::kNone);
  EXPECT_NE(failure_.text, "");
}

}  // namespace movra::media

#endif  // MOVRA_MEDIA_ENCODE_FRAME_ENCODER_CONTRACT_FOR_TEST_H_
