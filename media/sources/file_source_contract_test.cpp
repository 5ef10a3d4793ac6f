// The contract of sources on what FFmpeg's libraries read.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstddef>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "media/capture/frame_source_contract_for_test.h"
#include "media/file/clip_for_test.h"
#include "media/file/file_source.h"
#include "media/temporary_directory_for_test.h"

namespace movra::media {
namespace {

// A named pipe that a writer holds open, and what he wrote before he stalled.
class StalledPipe {
 public:
  explicit StalledPipe(const std::string& content) {
    if (mkfifo(path_.c_str(), 0600) != 0) return;
    // For both ends, so that neither waits for the other.
    file_ = open(path_.c_str(), O_RDWR | O_CLOEXEC);
    const bool has_room = fcntl(file_, F_SETPIPE_SZ, 1 << 20) >= static_cast<int>(content.size());
    EXPECT_TRUE(has_room);
    if (has_room) {
      EXPECT_EQ(write(file_, content.data(), content.size()), static_cast<ssize_t>(content.size()));
    }
  }
  ~StalledPipe() {
    if (file_ >= 0) close(file_);
  }
  StalledPipe(const StalledPipe&) = delete;
  StalledPipe& operator=(const StalledPipe&) = delete;

  [[nodiscard]] const std::string& path() const { return path_; }

 private:
  const TemporaryDirectory directory_;
  const std::string path_ = directory_ / "pipe";
  int file_ = -1;
};

// Nobody can tell when it waits.
WaitingSource OnPipe(const std::string& content, int frames) {
  const auto pipe = std::make_shared<StalledPipe>(content);
  return {pipe, MakeFileSource(pipe->path(), {}), frames, {}};
}

std::string RawVideo(int frames) {
  std::string video = "YUV4MPEG2 W320 H180 F30:1\n";
  for (int i = 0; i < frames; ++i) video += "FRAME\n" + std::string(320 * 180 * 3 / 2, 'x');
  return video;
}

SourceCase Mp4(const std::string& name, const Playback& playback) {
  SourceCase source;
  source.name = name;
  if (!playback.loop) source.frames = 12;
  source.make = [playback] {
    static const ClipDirectory clips;
    static const std::string path = clips.Make("clip.mp4", "-c:v libx264 -preset veryfast", 12);
    return MakeFileSource(path, playback);
  };
  return source;
}

WaitingSource PipeInOpen() { return OnPipe("", 0); }
WaitingSource PipeInRead() { return OnPipe(RawVideo(5), 5); }

std::unique_ptr<FrameSource> NoSuchFile() { return MakeFileSource("/no/such/file.mp4", {}); }

INSTANTIATE_TEST_SUITE_P(OnFile, FrameSourceContract,
                         ::testing::Values(Mp4("Mp4", {}), Mp4("Mp4InRealTime", {.realtime = true}),
                                           Mp4("Mp4InALoop", {.loop = true})),
                         NameOf<SourceCase>);
INSTANTIATE_TEST_SUITE_P(OnFile, WaitingSourceContract,
                         ::testing::Values(WaitingSourceCase{"PipeInOpen", true, &PipeInOpen},
                                           WaitingSourceCase{"PipeInRead", false, &PipeInRead}),
                         NameOf<WaitingSourceCase>);
INSTANTIATE_TEST_SUITE_P(OnFile, RefusedSourceContract,
                         ::testing::Values(RefusedSourceCase{"NoSuchFile", &NoSuchFile}),
                         NameOf<RefusedSourceCase>);

}  // namespace
}  // namespace movra::media
