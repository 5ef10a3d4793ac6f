#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <numeric>
#include <string>
#include <system_error>
#include <vector>

#include "app/played_file_for_test.h"
#include "app/process_for_test.h"
#include "media/file/clip_for_test.h"

namespace movra {
namespace {

class TwoProducersExample : public testing::Test {
 protected:
  [[nodiscard]] std::vector<std::string> Words(const std::string& camera_a,
                                               const std::string& camera_b) const {
    return {TWO_PRODUCERS_BINARY, camera_a, outputs_[0], camera_b, outputs_[1]};
  }

  // Until both files have grown.
  void InterruptInMidRun(const std::string& camera_a, const std::string& camera_b) {
    app::Process process({.words = Words(camera_a, camera_b)});
    ASSERT_TRUE(app::WaitUntil([&] {
      return std::all_of(outputs_.begin(), outputs_.end(), [](const std::string& output) {
        std::error_code error;
        return std::filesystem::file_size(output, error) > 10'000 && !error;
      });
    }));
    process.Signal(SIGINT);
    const app::ProcessResult result = process.Wait();
    EXPECT_EQ(result.exit_code, 0);
    EXPECT_EQ(result.err, "");
  }

  const media::ClipDirectory directory_;
  const std::vector<std::string> outputs_{directory_.Path("a.mp4"), directory_.Path("b.mp4")};
};

TEST_F(TwoProducersExample, ASignalEndsBothWithFilesThatPlay) {
  // One camera that both share, whose frames a busy machine may lose; and one for each.
  for (const std::string second : {"test:", "test:?size=640x360"}) {
    InterruptInMidRun("test:", second);
    for (const std::string& output : outputs_) {
      const app::PlayedFile played = app::Play(output);
      EXPECT_EQ(played.error, "");
      EXPECT_EQ(played.size, (video::Size{640, 360}));
      EXPECT_FALSE(played.numbers.empty());
      EXPECT_EQ(
          std::adjacent_find(played.numbers.begin(), played.numbers.end(), std::greater_equal()),
          played.numbers.end());
      std::filesystem::remove(output);
    }
  }
}

TEST_F(TwoProducersExample, EndsWhenBothHaveEndedWithEveryFrameOfEach) {
  const app::ProcessResult result =
      app::RunProcess({.words = Words("test:?frames=20&size=640x360&lossless",
                                      "test:?frames=75&size=640x360&lossless")});
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.err, "");
  const std::vector<std::size_t> lengths{20, 75};
  for (std::size_t i = 0; i < lengths.size(); ++i) {
    const app::PlayedFile played = app::Play(outputs_[i]);
    EXPECT_EQ(played.error, "");
    std::vector<std::uint32_t> expected(lengths[i]);
    std::iota(expected.begin(), expected.end(), 0u);
    EXPECT_EQ(played.numbers, expected);
  }
}

TEST_F(TwoProducersExample, SaysWhichCameraItCannotPlay) {
  const std::string missing = "file:" + directory_.Path("missing.mp4");
  const app::ProcessResult result = app::RunProcess({.words = Words("test:", missing)});
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_EQ(result.err, "cannot play " + missing + "\n");
}

}  // namespace
}  // namespace movra
