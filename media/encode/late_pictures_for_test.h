// Encoders whose pictures come some frames late, or several at once.

#ifndef MOVRA_MEDIA_ENCODE_LATE_PICTURES_FOR_TEST_H_
#define MOVRA_MEDIA_ENCODE_LATE_PICTURES_FOR_TEST_H_

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "media/encode/encoder_controller_for_test.h"
#include "media/figures/frame_account.h"

namespace movra::media {

class LatePicturesTest : public EncoderControllerFixture {
 protected:
  // Frame `index`, with a description that no other frame has.
  video::PixelFrame Frame(int index, const video::Size& size = kSmallSize) const {
    return Redescribed(PaintFrame(size, index), [index](video::PixelFrameInfo& info) {
      info.capture_time = std::chrono::milliseconds(1000 + index);
      info.damaged_frames = static_cast<std::uint64_t>(2 * index);
    });
  }

  void WriteFrames(int begin, int end, const video::Size& size = kSmallSize) {
    for (int i = begin; i < end; ++i) track_->GetWriter()->Write(Frame(i, size));
  }

  void StartAndDrain() {
    controller_->Start();
    controller_->Stop(kLongWaitMs);
  }

  void ChangeBitrate(int bits_per_second) {
    video::EncodeParams params;
    params.bitrate_bps = bits_per_second;
    controller_->SetEncodeParams(params);
  }

  // Each picture, whenever it came, says of its frame what the frame said of itself.
  void ExpectEachMatched() const {
    std::uint64_t number = 0;
    for (const auto& packet : recorder_->packets()) {
      const video::EncodedFrame& frame = packet.frame;
      const auto index = static_cast<int>(frame.sequence);
      EXPECT_EQ(frame.timestamp, Frame(index).info().timestamp) << index;
      EXPECT_EQ(frame.capture_time, std::chrono::milliseconds(1000 + index)) << index;
      EXPECT_EQ(frame.damaged_frames, 2 * frame.sequence) << index;
      EXPECT_EQ(packet.bytes.back(), index);
      EXPECT_EQ(frame.temporal_layer, index % 2);
      EXPECT_EQ(frame.referenced, index % 2 == 0);
      EXPECT_EQ(frame.number, number++);
    }
  }

  FrameCounts Counts() const { return account_->Totals(video::VideoStreamType::kSmall).stream; }

  // Waits for the thread of an abandoned run to count what it had.
  void WaitForFates(std::uint64_t frames) const {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (Counts().sum() < frames && std::chrono::steady_clock::now() < deadline) {
      std::this_thread::yield();
    }
  }

  // That all of them, and no other ones, have their fate.
  void ExpectFates(std::uint64_t encoded, std::uint64_t failed, std::uint64_t stopped = 0) const {
    const FrameCounts counts = Counts();
    EXPECT_EQ(counts.of(FrameFate::kEncoded), encoded);
    EXPECT_EQ(counts.of(FrameFate::kFailed), failed);
    EXPECT_EQ(counts.of(FrameFate::kStopped), stopped);
    EXPECT_EQ(counts.sum(), encoded + failed + stopped);
  }

  void Change(const std::function<void(Script&)>& change) {
    const std::lock_guard lock(script_->mutex);
    change(*script_);
  }

  std::vector<std::uint64_t> KeyFrames() const {
    std::vector<std::uint64_t> sequences;
    for (const auto& packet : recorder_->packets()) {
      if (packet.frame.key_frame) sequences.push_back(packet.frame.sequence);
    }
    return sequences;
  }

  const std::shared_ptr<FrameAccount> account_ = FrameAccount::Of(trace_);
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_ENCODE_LATE_PICTURES_FOR_TEST_H_
