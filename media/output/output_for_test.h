#ifndef MOVRA_MEDIA_OUTPUT_OUTPUT_FOR_TEST_H_
#define MOVRA_MEDIA_OUTPUT_OUTPUT_FOR_TEST_H_

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "media/encode/frame_encoder.h"
#include "media/temporary_directory_for_test.h"
#include "video/pixel_frame.h"
#include "video/video_frame_track.h"

namespace movra::media {

[[nodiscard]] std::string ReadWholeFile(const std::string& path);

// Encodes painted pictures, one after the other, for writers to be fed with.
class SampleStream {
 public:
  explicit SampleStream(const video::ColorDescription& color = {}) : color_(color) {}

  // Encodes the next picture and writes it. A new size begins with a key frame.
  void Write(video::IVideoFrameTrackWriter& writer, std::chrono::nanoseconds timestamp,
             const video::Size& size = {160, 96}, bool key_frame = false);
  // The next `count` pictures of a stream of 30 frames per second.
  void WriteMany(video::IVideoFrameTrackWriter& writer, int count,
                 const video::Size& size = {160, 96});

  // What was painted, picture by picture.
  [[nodiscard]] const std::vector<video::PixelFrame>& frames() const { return frames_; }

 private:
  const video::ColorDescription color_;
  std::unique_ptr<IFrameEncoder> encoder_;
  std::vector<video::PixelFrame> frames_;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_OUTPUT_OUTPUT_FOR_TEST_H_
