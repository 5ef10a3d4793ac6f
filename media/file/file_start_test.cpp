#include <chrono>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <memory>
#include <numeric>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <sys/stat.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "media/camera/frame_marker.h"
#include "media/capture/camera_error.h"
#include "media/file/clip_for_test.h"
#include "media/sources/source_kinds.h"

// Files that are played from a time on.

namespace movra::media {
namespace {

using std::chrono::nanoseconds;
using ::testing::ElementsAreArray;
using ::testing::HasSubstr;

constexpr int kFrames = 90;  // Three seconds.

std::vector<int> Range(int begin, int end) {
  std::vector<int> numbers(static_cast<std::size_t>(end - begin));
  std::iota(numbers.begin(), numbers.end(), begin);
  return numbers;
}

struct Played {
  video::CameraInfo info;
  std::vector<int> numbers;
  std::vector<nanoseconds> times;
  std::vector<std::uint64_t> sequence;
  video::StreamEnd end;
};

// Until the end, or so many frames.
Played Play(const std::string& path, const std::string& options, std::size_t most = 1000) {
  const auto source = MakeFrameSource(FileSourceId(path) + options);
  Played played{source->Open({}), {}, {}, {}, {}};
  while (played.info.error_code == 0 && played.numbers.size() < most) {
    const SourceItem item = source->Read({});
    if (const auto* const end = std::get_if<video::StreamEnd>(&item)) {
      played.end = *end;
      break;
    }
    const auto* const frame = std::get_if<SourceFrame>(&item);
    if (frame == nullptr) continue;
    const auto number = ReadFrameMarker(frame->frame);
    played.numbers.push_back(number ? static_cast<int>(*number) : -1);
    played.times.push_back(frame->frame.info().timestamp);
    played.sequence.push_back(frame->frame.info().sequence);
  }
  return played;
}

struct Kind {
  const char* name;  // "clip.mp4"
  const char* arguments;
};

void PrintTo(const Kind& kind, std::ostream* out) { *out << kind.name << " " << kind.arguments; }

class FileStartTest : public ::testing::Test {
 protected:
  const ClipDirectory clips_;
};
class FileStartOfKindTest : public FileStartTest, public ::testing::WithParamInterface<Kind> {};

TEST_P(FileStartOfKindTest, BeginsWithThePictureThatIsShownThenOrNext) {
  const std::string path = clips_.Make(GetParam().name, GetParam().arguments, kFrames);
  for (const int first : {1, 45, 59, 60, 61, 89}) {
    // A little before, because some containers round times.
    const std::string start = std::to_string(first * 1000 / 30 - 8) + "ms";
    const Played played = Play(path, "?start=" + start);
    EXPECT_EQ(played.info.error_code, 0) << played.info.error_text;
    EXPECT_THAT(played.numbers, ElementsAreArray(Range(first, kFrames)));
    ASSERT_FALSE(played.times.empty());
    EXPECT_EQ(played.times.front(), nanoseconds(0));
    EXPECT_EQ(played.sequence.back() + 1, played.numbers.size());
    EXPECT_EQ(played.end.error_code, 0) << played.end.reason;
    EXPECT_EQ(played.end.damaged_frames, 0u);
    EXPECT_TRUE(played.info.traits.has_end);
  }
}

TEST_P(FileStartOfKindTest, BeginsThereAgainAndAgainInALoop) {
  const std::string path = clips_.Make(GetParam().name, GetParam().arguments, kFrames);
  const Played played = Play(path, "?start=2826ms&loop", 15);
  EXPECT_THAT(played.numbers,
              ElementsAreArray({85, 86, 87, 88, 89, 85, 86, 87, 88, 89, 85, 86, 87, 88, 89}));
  for (std::size_t i = 1; i < played.times.size(); ++i) {
    const double milliseconds =
        std::chrono::duration<double, std::milli>(played.times[i] - played.times[i - 1]).count();
    EXPECT_NEAR(milliseconds, 1000.0 / 30, 8) << i;
    EXPECT_EQ(played.sequence[i], i);
  }
  EXPECT_FALSE(played.info.traits.has_end);
}

TEST_P(FileStartOfKindTest, SaysThatItIsOverBefore) {
  const std::string path = clips_.Make(GetParam().name, GetParam().arguments, 30);
  const Played played = Play(path, "?start=5s");
  EXPECT_TRUE(played.numbers.empty());
  const bool at_once = played.info.error_code != 0;
  EXPECT_EQ(static_cast<CameraError>(at_once ? played.info.error_code : played.end.error_code),
            CameraError::kBadOption);
  EXPECT_THAT(at_once ? played.info.error_text : played.end.reason,
              HasSubstr("'" + path + "' is over after 1.0"));
}

constexpr Kind kKinds[] = {
    {"clip.mp4", "-c:v libx264 -preset veryfast -bf 2 -g 12"},
    {"one-key.mp4", "-c:v libx264 -preset veryfast -g 900"},
    {"open.mp4", "-c:v libx264 -preset veryfast -bf 2 -g 15 -x264-params open-gop=1"},
    {"clip.mkv", "-c:v libx264 -preset veryfast -bf 2 -g 12"},
    {"clip.ts", "-c:v libx264 -preset veryfast -bf 2 -g 12"},
    {"one-key.ts", "-c:v libx264 -preset veryfast -bf 2 -g 900"},
    {"mpeg2.ts", "-c:v mpeg2video -bf 2 -g 12 -q:v 2"},
    {"clip.mpg", "-c:v mpeg2video -bf 2 -g 12 -q:v 2"},
    {"clip.flv", "-c:v libx264 -preset veryfast -bf 2 -g 12"},
    {"clip.avi", "-c:v mpeg4 -q:v 2 -g 12"},
    {"clip.mov", "-c:v mjpeg -q:v 2"},
    {"clip.y4m", "-pix_fmt yuv420p"},
    {"clip.h264", "-c:v libx264 -preset veryfast -bf 0 -g 12"},
    {"clip.m2v", "-c:v mpeg2video -bf 2 -g 12 -q:v 2"},
};
INSTANTIATE_TEST_SUITE_P(Kinds, FileStartOfKindTest, ::testing::ValuesIn(kKinds),
                         [](const auto& kind) {
                           std::string name = kind.param.name;
                           for (char& c : name) {
                             if (c == '.' || c == '-') c = '_';
                           }
                           return name;
                         });

TEST_F(FileStartTest, WhatIsLeftIsHowLongItLasts) {
  const std::string path = clips_.Make("clip.mp4", "-c:v libx264 -preset veryfast", kFrames);
  EXPECT_EQ(Play(path, "?start=1s", 0).info.duration, std::chrono::seconds(2));
  EXPECT_EQ(Play(clips_.Make("a.y4m", "-pix_fmt yuv420p", 30), "?start=500ms", 0).info.duration,
            std::chrono::milliseconds(500));
}

TEST_F(FileStartTest, WhatBreaksOffBehindItsStartDoesSoByTheFilesOwnTime) {
  const std::string whole = clips_.Make("clip.mkv", "-c:v libx264 -preset veryfast -g 12", kFrames);
  const std::string cut = clips_.MakeTruncated(whole, "cut.mkv", 0.7);
  const Played all = Play(cut, "");
  const Played late = Play(cut, "?start=1s");
  EXPECT_EQ(static_cast<CameraError>(late.end.error_code), CameraError::kBrokenOff);
  EXPECT_EQ(late.end.reason, all.end.reason);
  EXPECT_EQ(late.numbers.front(), 30);
  EXPECT_EQ(late.numbers.back(), all.numbers.back());
}

TEST_F(FileStartTest, PicturesLieAsTheKeyFrameBeforeThemSaid) {
  clips_.Make("plain.mp4", "-c:v libx264 -preset veryfast -g 900 -vf hflip", kFrames);
  clips_.RunFfmpeg(
      "-i plain.mp4 -c copy -bsf:v h264_metadata=display_orientation=insert:flip=horizontal "
      "flip.mkv");
  const auto source = MakeFrameSource(FileSourceId(clips_.Path("flip.mkv")) + "?start=1500ms");
  ASSERT_EQ(source->Open({}).error_code, 0);
  const SourceItem item = source->Read({});
  const auto* const frame = std::get_if<SourceFrame>(&item);
  ASSERT_NE(frame, nullptr);
  EXPECT_TRUE(frame->mirrored);
}

TEST_F(FileStartTest, DamageBeforeItIsNoneOfItsBusiness) {
  const std::string path = clips_.Make("clip.mp4", "-c:v libx264 -preset veryfast -g 12", kFrames);
  const auto size = static_cast<std::streamoff>(std::filesystem::file_size(path));
  std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
  file.seekp(size / 5);
  file << std::string(static_cast<std::size_t>(size / 10), 'x');
  file.close();
  EXPECT_GT(Play(path, "").end.damaged_frames, 0u);
  const Played late = Play(path, "?start=2s");
  EXPECT_THAT(late.numbers, ElementsAreArray(Range(60, kFrames)));
  EXPECT_EQ(late.end.damaged_frames, 0u);
}

TEST_F(FileStartTest, OfAPipeReadsAndLeavesOutWhatComesBefore) {
  const std::string path = clips_.Make("clip.ts", "-c:v libx264 -preset veryfast -g 12", kFrames);
  const std::string pipe = clips_.Path("pipe");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  std::thread writer([&] {
    std::ifstream in(path, std::ios::binary);
    std::ofstream(pipe, std::ios::binary) << in.rdbuf();
  });
  const Played played = Play(pipe, "?start=1492ms");
  writer.join();
  EXPECT_THAT(played.numbers, ElementsAreArray(Range(45, kFrames)));
  EXPECT_EQ(played.end.error_code, 0) << played.end.reason;
  EXPECT_FALSE(played.info.traits.replayable);
}

}  // namespace
}  // namespace movra::media
