#include "media/ffmpeg/ffmpeg_ptr.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "media/ffmpeg/ffmpeg_api.h"

namespace movra::media {
namespace {

void CountRelease(void* count, std::uint8_t* /*data*/) { ++*static_cast<int*>(count); }

TEST(FfmpegPtr, AFrameReleasesWhatItSharesOnce) {
  ASSERT_EQ(LoadFfmpeg(), "");
  int released = 0;
  std::uint8_t sample = 0;
  AvFramePtr frame(av_frame_alloc());
  frame->buf[0] = av_buffer_create(&sample, 1, &CountRelease, &released, 0);
  AvFramePtr moved = std::move(frame);
  EXPECT_EQ(released, 0);
  moved.reset();
  EXPECT_EQ(released, 1);
}

// What was released, in its order. The functions are bound to those that tell of it.
std::vector<std::string>& Released() {
  static std::vector<std::string> released;
  return released;
}
void TellOfBuffer(void* pointer) {
  Released().push_back("buffer");
  ::av_freep(pointer);
}
void TellOfContext(AVIOContext** context) {
  Released().push_back("context");
  ::avio_context_free(context);
}

TEST(FfmpegPtr, ACustomReaderReleasesItsBufferAndThenItself) {
  ASSERT_EQ(LoadFfmpeg(), "");
  AvIoPtr io(avio_alloc_context(static_cast<unsigned char*>(::av_malloc(16)), 16, 0, nullptr,
                                nullptr, nullptr, nullptr));
  av_freep.Bind(&TellOfBuffer);
  avio_context_free.Bind(&TellOfContext);
  io.reset();
  av_freep.Bind(&::av_freep);
  avio_context_free.Bind(&::avio_context_free);
  EXPECT_THAT(Released(), testing::ElementsAre("buffer", "context"));
}

TEST(FfmpegPtr, ErrorsHaveWords) {
  ASSERT_EQ(LoadFfmpeg(), "");
  EXPECT_EQ(ErrorText(AVERROR(ENOENT)), "No such file or directory");
  EXPECT_EQ(ErrorText(AVERROR_EOF), "End of file");
}

}  // namespace
}  // namespace movra::media
