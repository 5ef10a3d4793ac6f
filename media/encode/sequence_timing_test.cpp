#include "media/encode/sequence_timing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "media/encode/encode_for_test.h"
#include "media/encode/encoder_registry.h"
#include "media/ffmpeg/ffmpeg_api.h"
#include "media/ffmpeg/ffmpeg_ptr.h"

namespace movra::media {
namespace {

using Bytes = std::vector<std::uint8_t>;

// The encoder's first packet, without another size's or colour's help.
Bytes KeyFrame(const video::Size& size, const video::ColorDescription& color,
               const std::string& preset = "veryfast") {
  video::EncodeParams params;
  params.preset = preset;
  EncoderFailure failure;
  const auto encoder = EncoderRegistry::OfThisBuild().Open(ResolveEncoderSettings(params, {}, size),
                                                           {size, color}, failure);
  EXPECT_NE(encoder, nullptr) << failure.text;
  EXPECT_TRUE(encoder->Submit(PaintFrame(size, 0), 0, true, failure)) << failure.text;
  const auto picture = encoder->Take(failure);
  EXPECT_TRUE(picture.has_value());
  return {picture->data, picture->data + picture->size_bytes};
}

// It stands in front, between its start code and the next one.
std::size_t SetEnd(const Bytes& key_frame) {
  constexpr std::uint8_t kStartCode[] = {0, 0, 0, 1};
  const auto next = std::search(key_frame.begin() + 4, key_frame.end(), std::begin(kStartCode),
                                std::end(kStartCode));
  return static_cast<std::size_t>(next - key_frame.begin());
}

Bytes SetOf(const Bytes& key_frame) {
  return {key_frame.begin() + 4,
          key_frame.begin() + static_cast<std::ptrdiff_t>(SetEnd(key_frame))};
}

// What a decoder takes the rate for; 0/1 if it finds none.
AVRational DecodedRate(const Bytes& key_frame) {
  EXPECT_EQ(LoadFfmpeg(), "");
  const AvCodecContextPtr context(avcodec_alloc_context3(avcodec_find_decoder(AV_CODEC_ID_H264)));
  EXPECT_GE(avcodec_open2(context.get(), nullptr, nullptr), 0);
  const AvPacketPtr packet(av_packet_alloc());
  EXPECT_GE(av_new_packet(packet.get(), static_cast<int>(key_frame.size())), 0);
  std::copy(key_frame.begin(), key_frame.end(), packet->data);
  EXPECT_GE(avcodec_send_packet(context.get(), packet.get()), 0);
  EXPECT_GE(avcodec_send_packet(context.get(), nullptr), 0);
  const AvFramePtr frame(av_frame_alloc());
  EXPECT_GE(avcodec_receive_frame(context.get(), frame.get()), 0);
  return context->framerate;
}

Bytes WithSet(const Bytes& key_frame, const Bytes& set) {
  Bytes changed(key_frame.begin(), key_frame.begin() + 4);
  changed.insert(changed.end(), set.begin(), set.end());
  changed.insert(changed.end(), key_frame.begin() + static_cast<std::ptrdiff_t>(SetEnd(key_frame)),
                 key_frame.end());
  return changed;
}

TEST(SequenceTiming, TheEncoderClaimsNoRate) {
  EXPECT_EQ(DecodedRate(KeyFrame({320, 180}, {})).num, 0);
}

TEST(SequenceTiming, ARateIsWhatDecodersFindAndCanBeTakenAwayAgain) {
  for (const auto& [size, color, preset] :
       {std::tuple(video::Size{320, 180}, video::ColorDescription{}, "veryfast"),
        std::tuple(video::Size{1920, 1080}, video::ColorDescription{1, 1, 1, true}, "ultrafast"),
        std::tuple(video::Size{64, 48}, video::ColorDescription{6, 6, 6, false}, "slow")}) {
    const Bytes key_frame = KeyFrame(size, color, preset);
    const Bytes set = SetOf(key_frame);
    std::size_t length = 0;
    for (const FrameRate rate :
         {FrameRate{10, 1}, FrameRate{25, 1}, FrameRate{30, 1}, FrameRate{25, 2},
          FrameRate{30'000, 1001}, FrameRate{26'777, 1000}, FrameRate{1000, 1}, FrameRate{1, 1},
          FrameRate{1, 3600}, FrameRate{2'677'701, 100'000}, FrameRate{128, 1},
          FrameRate{65'536, 257}, FrameRate{2'147'483'647, 1}, FrameRate{1, 2'147'483'647}}) {
      const Bytes with_rate = WithFrameRate(set, rate);
      EXPECT_EQ(WithFrameRate(with_rate, FrameRate()), set);
      // Readers give numbers of 30 bits; and there is no room to expand them in.
      if (rate.numerator > 1 << 29 || rate.denominator > 1 << 29) continue;
      if (length == 0) length = with_rate.size();
      EXPECT_EQ(with_rate.size(), length) << rate.numerator << '/' << rate.denominator;
      const AVRational found = DecodedRate(WithSet(key_frame, with_rate));
      EXPECT_EQ(found.num, rate.numerator);
      EXPECT_EQ(found.den, rate.denominator);
    }
  }
}

TEST(SequenceTiming, WhatIsNoWholeParameterSetComesBackAsItIs) {
  const Bytes set = SetOf(KeyFrame({320, 180}, {}));
  for (std::size_t size = 0; size < set.size() / 2; ++size) {
    const Bytes part(set.begin(), set.begin() + static_cast<std::ptrdiff_t>(size));
    EXPECT_EQ(WithFrameRate(part, {25, 1}), part) << size;
  }
  Bytes other = set;
  other[0] = 0x68;
  EXPECT_EQ(WithFrameRate(other, {25, 1}), other);
}

TEST(SequenceTiming, AnyBytesAreRead) {
  const Bytes set = SetOf(KeyFrame({320, 180}, {}));
  std::mt19937 random(7);
  for (int i = 0; i < 20'000; ++i) {
    Bytes bytes = set;
    for (int changes = 1 + i % 8; changes > 0; --changes) {
      bytes[1 + random() % (bytes.size() - 1)] = static_cast<std::uint8_t>(random());
    }
    bytes.resize(1 + random() % bytes.size());
    EXPECT_LE(WithFrameRate(bytes, {25, 1}).size(), 2 * bytes.size() + 16);
  }
}

}  // namespace
}  // namespace movra::media
