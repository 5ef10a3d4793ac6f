#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>

#include <fstream>
#include <future>
#include <iterator>
#include <optional>
#include <string>
#include <thread>
#include <variant>

#include "media/camera/frame_marker.h"
#include "media/capture/camera_error.h"
#include "media/file/clip_for_test.h"
#include "media/file/video_file_decoder.h"
#include "media/open_descriptors_for_test.h"

// Video that comes through a named pipe.

namespace movra::media {
namespace {

using ::testing::HasSubstr;
using video::StreamEnd;

class PipeInputTest : public ::testing::Test {
 protected:
  PipeInputTest() { EXPECT_EQ(mkfifo(pipe_.c_str(), 0600), 0); }

  [[nodiscard]] static std::string Bytes(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  [[nodiscard]] std::string Clip(const std::string& name) const {
    return Bytes(clips_.Make(name, "", 10));
  }

  [[nodiscard]] video::CameraInfo OpenWhatIsWritten(const std::string& bytes) const {
    const auto old = signal(SIGPIPE, SIG_IGN);  // The reader may leave before the end.
    std::thread writer([&] { std::ofstream(pipe_, std::ios::binary) << bytes; });
    video::CameraInfo info;
    {
      VideoFileDecoder decoder;
      info = decoder.Open(pipe_);
    }
    writer.join();
    signal(SIGPIPE, old);
    return info;
  }

  // The next frame's number; nothing at the end or when interrupted.
  [[nodiscard]] static std::optional<std::uint32_t> NextNumber(VideoFileDecoder& decoder) {
    const SourceItem item = decoder.Next();
    const auto* const source = std::get_if<SourceFrame>(&item);
    return source == nullptr ? std::nullopt : ReadFrameMarker(source->frame);
  }

  const ClipDirectory clips_;
  const std::string pipe_ = clips_.Path("pipe");
};

TEST_F(PipeInputTest, AVideoThroughAPipeIsReadToItsEnd) {
  for (const char* name : {"clip.y4m", "clip.ts", "clip.mkv"}) {
    const std::string clip = Clip(name);
    std::thread writer([&] { std::ofstream(pipe_, std::ios::binary) << clip; });
    VideoFileDecoder decoder;
    const video::CameraInfo info = decoder.Open(pipe_);
    EXPECT_EQ(info.error_code, 0) << name << ": " << info.error_text;
    EXPECT_EQ(info.natural_size, (video::Size{320, 180})) << name;
    for (std::uint32_t i = 0; i < 10; ++i) EXPECT_EQ(NextNumber(decoder), i) << name;
    const SourceItem end = decoder.Next();
    ASSERT_TRUE(std::holds_alternative<StreamEnd>(end)) << name;
    EXPECT_EQ(std::get<StreamEnd>(end).error_code, 0) << name;
    EXPECT_FALSE(decoder.Rewind()) << "what came through a pipe is gone";
    writer.join();
  }
}

TEST_F(PipeInputTest, ARawVideoThatStopsWithinAPictureBreaksOff) {
  const std::string clip = Clip("clip.y4m");
  std::thread writer(
      [&] { std::ofstream(pipe_, std::ios::binary).write(clip.data(), std::ssize(clip) - 1); });
  VideoFileDecoder decoder;
  ASSERT_EQ(decoder.Open(pipe_).error_code, 0);
  for (std::uint32_t i = 0; i < 9; ++i) EXPECT_EQ(NextNumber(decoder), i);
  const SourceItem end = decoder.Next();
  ASSERT_TRUE(std::holds_alternative<StreamEnd>(end));
  EXPECT_EQ(std::get<StreamEnd>(end).error_code, static_cast<int>(CameraError::kBrokenOff));
  writer.join();
}

TEST_F(PipeInputTest, APipeIntoWhichNobodyWroteIsEmpty) {
  const video::CameraInfo info = OpenWhatIsWritten("");
  EXPECT_EQ(info.error_code, static_cast<int>(CameraError::kEmptyFile));
  EXPECT_EQ(info.error_text, "'" + pipe_ + "' is empty");
  EXPECT_EQ(OpenWhatIsWritten("?").error_code, static_cast<int>(CameraError::kNotAVideo));
}

TEST_F(PipeInputTest, WhatHasToBeAFileIsSaidToBeSo) {
  const video::CameraInfo gif = OpenWhatIsWritten(Bytes(clips_.Make("a.gif", "", 60)));
  EXPECT_EQ(gif.error_code, static_cast<int>(CameraError::kUnsupported));
  EXPECT_THAT(gif.error_text, HasSubstr("is a GIF, which cannot be read from a pipe"));

  const std::string fast = " -c:v libx264 -preset veryfast -crf 4 ";
  const video::CameraInfo mp4 = OpenWhatIsWritten(Bytes(clips_.Make("a.mp4", fast, 60)));
  EXPECT_EQ(mp4.error_code, static_cast<int>(CameraError::kUnsupported));
  EXPECT_THAT(mp4.error_text, HasSubstr("index stands at its end"));
  for (const std::string flags : {"faststart", "frag_keyframe+empty_moov"}) {
    EXPECT_EQ(OpenWhatIsWritten(Bytes(clips_.Make(flags + ".mp4", fast + "-movflags " + flags, 60)))
                  .error_code,
              0);
  }
}

TEST_F(PipeInputTest, AWriterThatStallsIsWaitedForUntilTheReaderIsInterrupted) {
  const std::string clip = Clip("clip.y4m");
  constexpr std::size_t kFrameBytes = 6 + 320 * 180 * 3 / 2;
  const std::size_t five = clip.size() - 5 * kFrameBytes;
  std::promise<void> stall;
  std::promise<void> end;
  std::thread writer([&] {
    std::ofstream pipe(pipe_, std::ios::binary);
    pipe << clip.substr(0, five) << std::flush;
    stall.get_future().wait();
    pipe << clip.substr(five, 2 * kFrameBytes) << std::flush;
    end.get_future().wait();
  });
  VideoFileDecoder decoder;
  EXPECT_EQ(decoder.Open(pipe_).error_code, 0);
  std::uint32_t number = 0;
  for (; number < 5; ++number) EXPECT_EQ(NextNumber(decoder), number);
  stall.set_value();
  for (; number < 7; ++number) EXPECT_EQ(NextNumber(decoder), number);
  std::thread interrupter([&] { decoder.Interrupt(); });
  EXPECT_EQ(NextNumber(decoder), std::nullopt);
  interrupter.join();
  end.set_value();
  writer.join();
}

TEST_F(PipeInputTest, AWriterThatDoesNotComeIsWaitedForUntilTheReaderIsInterrupted) {
  {
    VideoFileDecoder decoder;
    std::thread opener([&] { EXPECT_NE(decoder.Open(pipe_).error_code, 0); });
    decoder.Interrupt();
    opener.join();
  }
  EXPECT_FALSE(IsOpen(pipe_));
}

}  // namespace
}  // namespace movra::media
