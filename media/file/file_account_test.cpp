#include "media/file/file_account.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <utility>
#include <vector>

#include "media/ffmpeg/ffmpeg_api.h"
#include "media/ffmpeg/ffmpeg_ptr.h"

namespace movra::media {
namespace {

// A container that is not there; the stream's packets and pictures are the test's.
class FileAccountTest : public ::testing::Test {
 protected:
  FileAccountTest() {
    EXPECT_EQ(LoadFfmpeg(), "");
    context_ = avformat_alloc_context();
    format_.name = "some";
    context_->iformat = &format_;
    stream_ = avformat_new_stream(context_, nullptr);
    stream_->time_base = {1, 30};
  }
  ~FileAccountTest() override {
    context_->iformat = nullptr;
    avformat_free_context(context_);
  }

  void Open(AVCodecID codec) {
    stream_->codecpar->codec_id = codec;
    account_.Open(*context_, *stream_);
  }

  void Send(std::int64_t pts, std::uint8_t first_byte = 0xFF, int flags = 0) {
    std::vector<std::uint8_t> bytes(100, first_byte);
    bytes.back() = 0;
    SendBytes(std::move(bytes), pts, flags);
  }

  void SendBare(std::vector<std::uint8_t> bytes, int flags) {
    bytes.resize(100);
    SendBytes(std::move(bytes), AV_NOPTS_VALUE, flags);
  }

  void SendBytes(std::vector<std::uint8_t> bytes, std::int64_t pts, int flags) {
    const AvPacketPtr packet(av_packet_alloc());
    packet->data = bytes.data();
    packet->size = static_cast<int>(bytes.size());
    packet->pts = packet->dts = pts;
    packet->duration = 1;
    packet->flags = flags;
    EXPECT_EQ(account_.TakePacket(*packet), 0U);
    packet->data = nullptr;
  }

  void Receive(std::int64_t pts, bool interlaced = false) {
    const AvFramePtr frame(av_frame_alloc());
    frame->pts = pts;
    frame->interlaced_frame = interlaced ? 1 : 0;
    if (pts != AV_NOPTS_VALUE) {
      EXPECT_EQ(account_.IsBeforeTheFirst(*frame), pts < first_) << pts;
    }
    account_.TakePicture(*frame);
  }

  AVInputFormat format_{};
  AVFormatContext* context_ = nullptr;
  AVStream* stream_ = nullptr;
  std::int64_t first_ = 0;
  FileAccount account_;
};

TEST_F(FileAccountTest, APacketThatNoPictureCameOfIsMissing) {
  Open(AV_CODEC_ID_H264);
  Send(0, 0xFF, AV_PKT_FLAG_KEY);
  for (int i = 1; i < 456; ++i) Send(i);
  for (int i = 0; i < 455; ++i) Receive(i);
  EXPECT_EQ(account_.Missing(), 1U);
}

TEST_F(FileAccountTest, ButNotOneThatTheDecoderTold) {
  Open(AV_CODEC_ID_HEVC);
  Send(0, 0xFF, AV_PKT_FLAG_KEY);
  Send(1);
  Receive(0);
  account_.TakeError();
  EXPECT_EQ(account_.Missing(), 0U);
}

TEST_F(FileAccountTest, TwoPacketsMayBeOnePicture) {
  Open(AV_CODEC_ID_H264);
  Send(0, 0xFF, AV_PKT_FLAG_KEY);
  for (int i = 1; i < 20; ++i) Send(i);
  for (int i = 0; i < 20; i += 2) Receive(i, /*interlaced=*/true);
  EXPECT_EQ(account_.Missing(), 0U);
}

TEST_F(FileAccountTest, WhatIsHiddenOrLeftOutOnPurposeIsNoPicture) {
  Open(AV_CODEC_ID_VP8);
  Send(0, 0x10, AV_PKT_FLAG_KEY);
  Send(1, 0x01);
  Send(2, 0x11, AV_PKT_FLAG_DISCARD);
  Receive(0);
  EXPECT_EQ(account_.Missing(), 0U);
  Send(3, 0x11);
  EXPECT_EQ(account_.Missing(), 1U);
}

TEST_F(FileAccountTest, PicturesOfVp9TellWhetherTheyAreShown) {
  Open(AV_CODEC_ID_VP9);
  Send(0, 0b1000'0010, AV_PKT_FLAG_KEY);  // Shown.
  Send(1, 0b1000'0100);                   // Hidden.
  Send(2, 0b1000'1000);                   // An old one again.
  Send(3, 0b1011'0001);                   // Of the last profile, shown.
  Send(4, 0b1011'0010);                   // Hidden.
  EXPECT_EQ(account_.Missing(), 3U);
}

TEST_F(FileAccountTest, WhatComesBeforeTheFirstKeyFrameIsNotMissed) {
  Open(AV_CODEC_ID_HEVC);
  first_ = 3;
  Send(3, 0xFF, AV_PKT_FLAG_KEY);
  Send(1);
  Send(2);
  Send(4);
  Receive(3);
  Receive(4);
  EXPECT_EQ(account_.Missing(), 0U);
  account_.Rewind();
  Send(3, 0xFF, AV_PKT_FLAG_KEY);
  Send(1);
  Receive(1);
  EXPECT_EQ(account_.Missing(), 1U);
}

// As in a program stream, where one time is said for all pictures that begin in a packet of it.
TEST_F(FileAccountTest, APictureWithoutATimeIsCountedAsOneThatHasIt) {
  Open(AV_CODEC_ID_MPEG2VIDEO);
  Send(0, 0xFF, AV_PKT_FLAG_KEY);
  Send(2);
  Send(1);
  Send(AV_NOPTS_VALUE);
  Send(AV_NOPTS_VALUE, 0xFF, AV_PKT_FLAG_KEY);
  Send(4);
  Send(8);
  Send(AV_NOPTS_VALUE);
  for (const std::int64_t pts : {std::int64_t{0}, std::int64_t{1}, std::int64_t{2}, AV_NOPTS_VALUE,
                                 std::int64_t{4}, AV_NOPTS_VALUE, AV_NOPTS_VALUE}) {
    Receive(pts);
  }
  EXPECT_EQ(account_.Missing(), 1U);
  Receive(8);
  EXPECT_EQ(account_.Missing(), 0U);
}

// Bare streams have no times, but kinds of pictures; these may begin anywhere in a packet.
TEST_F(FileAccountTest, ABareStreamMayBeginWithAnOpenGroup) {
  format_.name = "hevc";
  Open(AV_CODEC_ID_HEVC);
  const auto send = [this](int unit, int flags = 0) {
    SendBare({0x40, 1, 0, 0, 1, static_cast<std::uint8_t>(unit << 1), 1}, flags);
  };
  send(21, AV_PKT_FLAG_KEY);
  send(8);
  send(6);
  send(9);
  EXPECT_EQ(account_.Missing(), 2U) << "the key frame, and one that can be decoded without more";
  send(1);
  send(21, AV_PKT_FLAG_KEY);
  send(9);
  EXPECT_EQ(account_.Missing(), 5U);
}

TEST_F(FileAccountTest, SoMayABareStreamOfMpeg2) {
  format_.name = "mpegvideo";
  Open(AV_CODEC_ID_MPEG2VIDEO);
  const auto send = [this](int kind, int flags = 0) {
    SendBare({0, 0, 1, 0xB5, 0, 0, 0, 0, 1, 0, 0, static_cast<std::uint8_t>(kind << 3)}, flags);
  };
  send(1, AV_PKT_FLAG_KEY);
  send(3);
  send(3);
  EXPECT_EQ(account_.Missing(), 1U);
  send(2);
  send(3);
  EXPECT_EQ(account_.Missing(), 3U);
}

TEST_F(FileAccountTest, OtherCodecsAreNotCounted) {
  Open(AV_CODEC_ID_MPEG4);
  Send(0, 0xFF, AV_PKT_FLAG_KEY);
  Send(1);
  EXPECT_EQ(account_.Missing(), 0U);
}

}  // namespace
}  // namespace movra::media
