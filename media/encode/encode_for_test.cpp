#include "media/encode/encode_for_test.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <utility>

#include "core/dispatch_queue.h"

namespace movra::media {
namespace {

using video::PixelFormat;
using video::Size;

std::uint8_t Sample(int value) { return static_cast<std::uint8_t>(std::clamp(value, 16, 235)); }

class Noise {
 public:
  Noise(int seed, int strength)
      : state_(static_cast<std::uint32_t>(seed) * 2654435761U + 1), strength_(strength) {}

  int Next() {
    if (strength_ == 0) return 0;
    state_ ^= state_ << 13;
    state_ ^= state_ >> 17;
    state_ ^= state_ << 5;
    return static_cast<int>(state_ % static_cast<std::uint32_t>(2 * strength_ + 1)) - strength_;
  }

 private:
  std::uint32_t state_;
  const int strength_;
};

void PaintLuma(const Size& size, int index, int noise_strength, std::vector<std::uint8_t>& out) {
  Noise noise(index, noise_strength);
  const int side = std::min(size.width, size.height) / 4;
  const int left = size.width > side ? (index * 4) % (size.width - side) : 0;
  const int top = (size.height - side) / 2;
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      const bool in_square = x >= left && x < left + side && y >= top && y < top + side;
      const int base = in_square ? 220 : 40 + (x + 2 * y + index) % 128;
      out.push_back(Sample(base + noise.Next()));
    }
  }
}

void PaintChroma(const Size& size, int index, int plane, std::vector<std::uint8_t>& out) {
  for (int y = 0; y < size.height / 2; ++y) {
    for (int x = 0; x < size.width / 2; ++x) {
      out.push_back(Sample(plane == 0 ? 96 + (x + index) % 64 : 160 - (y + index) % 64));
    }
  }
}

// I420 to NV12, in place of a second painter.
void Interleave(const Size& size, std::vector<std::uint8_t>& samples) {
  const auto luma = static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height);
  const std::size_t chroma = luma / 4;
  const std::vector<std::uint8_t> planes(samples.begin() + static_cast<std::ptrdiff_t>(luma),
                                         samples.end());
  for (std::size_t i = 0; i < chroma; ++i) {
    samples[luma + 2 * i] = planes[i];
    samples[luma + 2 * i + 1] = planes[chroma + i];
  }
}

}  // namespace

video::PixelFrame PaintFrame(const Size& size, int index, int rate, int noise, PixelFormat format) {
  const auto samples = std::make_shared<std::vector<std::uint8_t>>();
  PaintLuma(size, index, noise, *samples);
  PaintChroma(size, index, 0, *samples);
  PaintChroma(size, index, 1, *samples);
  video::PixelFrameInfo info;
  info.format = format;
  info.size = size;
  info.delivery = video::FrameDelivery::kLossless;
  const std::uint8_t* const chroma = samples->data() + size.width * size.height;
  info.planes[0] = {samples->data(), size.width};
  if (format == PixelFormat::kNV12) {
    Interleave(size, *samples);
    info.planes[1] = {chroma, size.width};
  } else {
    info.planes[1] = {chroma, size.width / 2};
    info.planes[2] = {chroma + size.width * size.height / 4, size.width / 2};
  }
  info.timestamp = std::chrono::nanoseconds(std::int64_t{index} * 1'000'000'000 / rate);
  info.capture_time = std::chrono::steady_clock::now().time_since_epoch();
  info.sequence = static_cast<std::uint64_t>(index);
  return {info, samples};
}

video::PixelFrame Redescribed(const video::PixelFrame& frame,
                              const std::function<void(video::PixelFrameInfo&)>& change) {
  video::PixelFrameInfo info = frame.info();
  change(info);
  return frame.WithInfo(info);
}

void PacketRecorder::Write(const video::EncodedFrame& frame) {
  std::unique_lock lock(mutex_);
  packets_.push_back({frame, {frame.data, frame.data + frame.size_bytes}});
  most_inside_ = std::max(most_inside_, ++inside_);
  held_ = hold_;
  changed_.notify_all();
  changed_.wait(lock, [this] { return !hold_; });
  held_ = false;
  --inside_;
}

void PacketRecorder::WriteEnd(const video::StreamEnd& end) {
  const std::lock_guard lock(mutex_);
  ends_.push_back(end);
  changed_.notify_all();
}

void PacketRecorder::HoldNextWrite() {
  const std::lock_guard lock(mutex_);
  hold_ = true;
}

void PacketRecorder::WaitUntilHeld() {
  WaitFor("a held write", [this] { return held_; });
}

void PacketRecorder::Release() {
  const std::lock_guard lock(mutex_);
  hold_ = false;
  changed_.notify_all();
}

void PacketRecorder::WaitForPackets(std::size_t count) {
  WaitFor("packets", [this, count] { return packets_.size() >= count; });
}

void PacketRecorder::WaitForEnd() {
  WaitFor("the end mark", [this] { return !ends_.empty(); });
}

std::vector<PacketRecorder::Packet> PacketRecorder::packets() const {
  const std::lock_guard lock(mutex_);
  return packets_;
}

std::vector<video::StreamEnd> PacketRecorder::ends() const {
  const std::lock_guard lock(mutex_);
  return ends_;
}

int PacketRecorder::most_inside() const {
  const std::lock_guard lock(mutex_);
  return most_inside_;
}

void PacketRecorder::WaitFor(const char* what, const std::function<bool()>& happened) {
  std::unique_lock lock(mutex_);
  EXPECT_TRUE(changed_.wait_for(lock, std::chrono::minutes(1), happened)) << what;
}

void RecordingClient::OnEncoderPropertyChanged(video::VideoStreamType type,
                                               const video::EncoderProperty& from,
                                               const video::EncoderProperty& to) {
  types.push_back(type);
  changes.push_back({from, to});
}

void RecordingClient::OnEncoderError(video::VideoStreamType type, video::VideoEncoderError error,
                                     const movra_base::Value& detail) {
  types.push_back(type);
  const auto* const text = detail.GetIf<std::string>();
  errors.push_back({error, text != nullptr ? *text : std::string()});
}

ScopedMainLoop::ScopedMainLoop() { core::SetMainQueue(loop_); }

ScopedMainLoop::~ScopedMainLoop() { core::SetMainQueue(nullptr); }

}  // namespace movra::media
