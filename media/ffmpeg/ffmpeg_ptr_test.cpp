#include "media/ffmpeg/ffmpeg_ptr.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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

TEST(FfmpegPtr, ErrorsHaveWords) {
  ASSERT_EQ(LoadFfmpeg(), "");
  EXPECT_EQ(ErrorText(AVERROR(ENOENT)), "No such file or directory");
  EXPECT_EQ(ErrorText(AVERROR_EOF), "End of file");
}

}  // namespace
}  // namespace movra::media
