#include "media/output/output_for_test.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "media/encode/encode_for_test.h"
#include "media/encode/encoder_registry.h"

namespace movra::media {

std::string ReadWholeFile(const std::string& path) {
  std::ostringstream content;
  content << std::ifstream(path, std::ios::binary).rdbuf();
  return content.str();
}

void SampleStream::Write(video::IVideoFrameTrackWriter& writer, std::chrono::nanoseconds timestamp,
                         const video::Size& size, bool key_frame) {
  EncoderFailure failure;
  if (encoder_ == nullptr || frames_.back().info().size != size) {
    video::EncodeParams params;
    params.preset = "ultrafast";
    encoder_ = EncoderRegistry::OfThisBuild().Open(ResolveEncoderSettings(params, {}, size),
                                                   {size, color_}, failure);
    ASSERT_NE(encoder_, nullptr) << failure.text;
  }
  const int index = static_cast<int>(frames_.size());
  frames_.push_back(PaintFrame(size, index));
  ASSERT_TRUE(encoder_->Submit(frames_.back(), std::int64_t{index} * 3000, key_frame, failure))
      << failure.text;
  const auto picture = encoder_->Take(failure);
  ASSERT_TRUE(picture.has_value()) << failure.text;
  video::EncodedFrame frame;
  frame.data = picture->data;
  frame.size_bytes = picture->size_bytes;
  frame.key_frame = picture->key_frame;
  frame.size = size;
  frame.color = color_;
  frame.timestamp = timestamp;
  frame.duration = std::chrono::nanoseconds(33'333'333);
  frame.sequence = static_cast<std::uint64_t>(index);
  writer.Write(frame);
}

void SampleStream::WriteMany(video::IVideoFrameTrackWriter& writer, int count,
                             const video::Size& size) {
  for (int i = 0; i < count; ++i) {
    const auto index = static_cast<std::int64_t>(frames_.size());
    Write(writer, std::chrono::nanoseconds(index * 1'000'000'000 / 30), size, index % 60 == 0);
  }
}

}  // namespace movra::media
