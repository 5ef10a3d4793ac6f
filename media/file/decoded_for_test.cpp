#include "media/file/decoded_for_test.h"

#include <gtest/gtest.h>

#include <utility>
#include <variant>

#include "media/camera/frame_marker.h"
#include "media/capture/fit_frame.h"
#include "media/frame/convert_frame.h"

namespace movra::media {

std::vector<int> Decoded::Numbers() const {
  FramePool pool;
  std::vector<int> numbers;
  for (const SourceFrame& item : frames) {
    const auto luma = ConvertFrame(FitFrame(item, {}, pool), video::PixelFormat::kI420, pool);
    const auto number = ReadFrameMarker(luma);
    numbers.push_back(number ? static_cast<int>(*number) : -1);
  }
  return numbers;
}

std::vector<std::chrono::nanoseconds> Decoded::Timestamps() const {
  std::vector<std::chrono::nanoseconds> timestamps;
  for (const SourceFrame& item : frames) timestamps.push_back(item.frame.info().timestamp);
  return timestamps;
}

void ReadToTheEnd(VideoFileDecoder& decoder, Decoded& decoded) {
  for (;;) {
    SourceItem item = decoder.Next();
    if (auto* const end = std::get_if<video::StreamEnd>(&item)) {
      decoded.end = *end;
      return;
    }
    decoded.frames.push_back(std::get<SourceFrame>(std::move(item)));
  }
}

Decoded Decode(const std::string& path, int threads) {
  VideoFileDecoder decoder(threads);
  Decoded decoded;
  decoded.info = decoder.Open(path);
  EXPECT_EQ(decoded.info.error_code, 0) << decoded.info.error_text;
  if (decoded.info.error_code == 0) ReadToTheEnd(decoder, decoded);
  return decoded;
}

}  // namespace movra::media
