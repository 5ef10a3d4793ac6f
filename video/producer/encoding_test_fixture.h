// What the tests of the encoding side share.

#ifndef MOVRA_VIDEO_PRODUCER_ENCODING_TEST_FIXTURE_H_
#define MOVRA_VIDEO_PRODUCER_ENCODING_TEST_FIXTURE_H_

#include <cstdint>
#include <memory>
#include <string>

#include "testing/application_doubles.h"
#include "video/encode_params.h"
#include "video/producer/producer_test_fixture.h"
#include "video/to_string.h"

namespace movra::video {

// Neither of the two streams; every such value means the big one.
inline constexpr auto kOtherStream = static_cast<VideoStreamType>(2);

[[nodiscard]] inline EncodeParams RateOf(std::int32_t frame_rate) {
  EncodeParams params;
  params.frame_rate = frame_rate;
  return params;
}
[[nodiscard]] inline EncodeParams SizeOf(std::int32_t width, std::int32_t height) {
  EncodeParams params;
  params.width = width;
  params.height = height;
  return params;
}
[[nodiscard]] inline EncodeParams SizeAndRateOf(std::int32_t width, std::int32_t height,
                                                std::int32_t frame_rate) {
  EncodeParams params = SizeOf(width, height);
  params.frame_rate = frame_rate;
  return params;
}

class EncodingTest : public ProducerTest {
 protected:
  // Where the application wants its encoded frames.
  [[nodiscard]] const std::shared_ptr<testing::EncodedWriterDouble>& writer() const {
    return writer_;
  }
  void ReleaseWriter() { writer_.reset(); }

  [[nodiscard]] testing::PreprocessorDouble& preprocessor() { return world().preprocessors.Last(); }

  // The line that tells of a real change of the parameters.
  [[nodiscard]] static std::string ChangeOf(const EncodeParams& params, VideoStreamType type) {
    return Info("Set encoder params:" + params.ToString() + " for " +
                VideoStreamTypeToString(type));
  }

 private:
  std::shared_ptr<testing::EncodedWriterDouble> writer_ =
      env().Make<testing::EncodedWriterDouble>("writer");
};

}  // namespace movra::video

#endif  // MOVRA_VIDEO_PRODUCER_ENCODING_TEST_FIXTURE_H_
