#include "media/encode/encoder_registry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "media/encode/encode_for_test.h"

namespace movra::media {
namespace {

using ::testing::SizeIs;
using video::BufferType;
using video::PixelFormat;
using video::PixelFrameFormat;
using video::VideoCodec;

constexpr VideoCodec kFirst{8};
constexpr VideoCodec kSecond{9};

EncoderEntry Entry(VideoCodec codec, const std::string& library, std::string why_unusable = "") {
  EncoderEntry entry;
  entry.codec = codec;
  entry.library = library;
  entry.probe = [why = std::move(why_unusable)] { return why; };
  entry.open = [library](const EncoderSettings&, const StreamFormat&, EncoderFailure& failure) {
    failure = {video::VideoEncoderError::kOpenFailed, "opened by " + library};
    return nullptr;
  };
  return entry;
}

std::string OpenedBy(const EncoderRegistry& registry, VideoCodec codec) {
  EncoderSettings settings;
  settings.codec = codec;
  EncoderFailure failure;
  EXPECT_EQ(registry.Open(settings, {}, failure), nullptr);
  return failure.text;
}

TEST(EncoderRegistry, TheFirstOfACodecThatCanBeUsedIsTheOne) {
  const EncoderRegistry registry(
      {{Entry(kFirst, "card", "there is no card"), Entry(kSecond, "other"),
        Entry(kFirst, "library"), Entry(kFirst, "slow")},
       {}});
  ASSERT_NE(registry.Find(kFirst), nullptr);
  EXPECT_EQ(registry.Find(kFirst)->library, "library");
  EXPECT_EQ(registry.Find(kSecond)->library, "other");
  EXPECT_EQ(OpenedBy(registry, kFirst), "opened by library");
}

TEST(EncoderRegistry, WhatNeedsNoProbeCanBeUsed) {
  EncoderEntry entry = Entry(kFirst, "library");
  entry.probe = nullptr;
  EXPECT_NE(EncoderRegistry({{entry}, {}}).Find(kFirst), nullptr);
}

TEST(EncoderRegistry, WithoutAnEncoderOfTheCodecItSaysWhatIsMissing) {
  const EncoderRegistry registry(
      {{Entry(kFirst, "card", "there is no card")}, {{kSecond, "this build has none"}}});
  EXPECT_EQ(registry.Find(kFirst), nullptr);
  EXPECT_EQ(registry.WhyNone(kFirst), "card cannot be used: there is no card");
  EXPECT_EQ(registry.WhyNone(kSecond), "this build has none");
  EXPECT_EQ(registry.WhyNone(VideoCodec(7)), "there is no encoder for VideoCodec(7)");
  EXPECT_EQ(OpenedBy(registry, kSecond), "this build has none");
}

TEST(EncoderRegistry, AnOpenWithoutAnEncoderIsUnavailable) {
  EncoderFailure failure;
  EXPECT_EQ(EncoderRegistry({}).Open({}, {}, failure), nullptr);
  EXPECT_EQ(failure.code, video::VideoEncoderError::kUnavailable);
}

TEST(EncoderRegistry, TheInputFormatIsTheFirstOfTheEncoder) {
  EncoderEntry entry = Entry(kFirst, "card");
  entry.input_formats = {{BufferType::kTexture, PixelFormat::kNV12},
                         {BufferType::kMemory, PixelFormat::kNV12}};
  const EncoderRegistry registry({{entry, Entry(kSecond, "picky")}, {}});
  EXPECT_EQ(registry.InputFormat(kFirst),
            (PixelFrameFormat{BufferType::kTexture, PixelFormat::kNV12}));
  const PixelFrameFormat usual{BufferType::kMemory, PixelFormat::kI420};
  EXPECT_EQ(registry.InputFormat(kSecond), usual);
  EXPECT_EQ(registry.InputFormat(VideoCodec(7)), usual);
}

TEST(EncoderRegistry, AnEncoderReadsWholeFramesOfItsFormats) {
  EncoderEntry entry = Entry(kFirst, "library");
  entry.input_formats = {{BufferType::kMemory, PixelFormat::kNV12},
                         {BufferType::kTexture, PixelFormat::kBGRA}};
  const video::PixelFrameInfo i420 = PaintFrame({64, 48}, 0).info();
  const video::PixelFrameInfo nv12 = PaintFrame({64, 48}, 0, 30, 0, PixelFormat::kNV12).info();
  EXPECT_FALSE(entry.Reads(i420));
  EXPECT_TRUE(entry.Reads(nv12));
  video::PixelFrameInfo changed = nv12;
  changed.planes[1].stride = 63;
  EXPECT_FALSE(entry.Reads(changed));
  changed = nv12;
  changed.planes[1].data = nullptr;
  EXPECT_FALSE(entry.Reads(changed));
  changed = nv12;
  changed.size.height = 0;
  EXPECT_FALSE(entry.Reads(changed));
  // What a texture holds only its library can see.
  video::PixelFrameInfo texture;
  texture.size = {64, 48};
  texture.buffer_type = BufferType::kTexture;
  texture.format = PixelFormat::kBGRA;
  EXPECT_TRUE(entry.Reads(texture));
  EXPECT_EQ(entry.WhyNotRead(i420),
            "library reads kNV12 in kMemory and kBGRA in kTexture, not kI420 in kMemory");
}

TEST(EncoderRegistry, ThatOfThisBuildIsOneAndHasARowOrAReasonForTheDefaultCodec) {
  const EncoderRegistry& registry = EncoderRegistry::OfThisBuild();
  EXPECT_EQ(&registry, &EncoderRegistry::OfThisBuild());
  const EncoderEntry* const entry = registry.Find(kDefaultCodec);
  if (entry == nullptr) {
    EXPECT_NE(registry.WhyNone(kDefaultCodec), EncoderRegistry({}).WhyNone(kDefaultCodec));
  } else {
    EXPECT_EQ(entry->library, "libx264");
    EXPECT_THAT(entry->input_formats, SizeIs(2));
    EXPECT_TRUE(entry->abilities.regions);
    EXPECT_FALSE(entry->abilities.hardware || entry->abilities.reference_selection);
  }
}

}  // namespace
}  // namespace movra::media
