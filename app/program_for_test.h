// The built program in an empty directory of its own.

#ifndef MOVRA_APP_PROGRAM_FOR_TEST_H_
#define MOVRA_APP_PROGRAM_FOR_TEST_H_

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "app/played_file_for_test.h"
#include "app/process_for_test.h"
#include "media/file/clip_for_test.h"
#include "media/temporary_directory_for_test.h"

namespace movra::app {

class ProgramTest : public testing::Test {
 protected:
  // Runs `movra-producer` with the words, in the directory.
  [[nodiscard]] Process::Options Program(std::vector<std::string> words) const {
    words.insert(words.begin(), MOVRA_PRODUCER_BINARY);
    return {.words = std::move(words), .directory = directory_.path().string()};
  }

  // Runs `movra-producer run` into the directory "out" to its end.
  [[nodiscard]] ProcessResult Run(std::vector<std::string> words) const {
    words.insert(words.begin(), "run");
    words.insert(words.end(), {"--out", "out"});
    return RunProcess(Program(std::move(words)));
  }

  // A clip of numbered frames, 30 a second, outside the directory; its path.
  [[nodiscard]] std::string MakeClip(int frames, video::Size size = {640, 360},
                                     const std::string& name = "clip.mp4",
                                     const std::string& ffmpeg_arguments = "") const {
    return clips_.Make(name, ffmpeg_arguments + " -c:v libx264 -preset ultrafast", frames, size);
  }

  [[nodiscard]] bool Exists(const std::string& name) const {
    return std::filesystem::exists(std::filesystem::symlink_status(directory_ / name));
  }

  const media::TemporaryDirectory directory_;
  const media::ClipDirectory clips_;
};

// Every frame that was delivered is in one figure of the stream's, and so is what was encoded.
inline void ExpectWholeSum(const nlohmann::json& stream) {
  std::uint64_t sum = 0;
  for (const char* fate : {"encoded", "displaced", "dropped_to_rate", "not_made", "intercepted",
                           "unwanted", "failed", "stopped"}) {
    sum += stream["frames_" + std::string(fate)].get<std::uint64_t>();
  }
  EXPECT_EQ(stream["frames_delivered"], sum) << stream.dump(2);
  std::uint64_t encoded = 0;
  for (const char* name : {"written", "beyond_duration", "not_written"}) {
    encoded += stream["frames_" + std::string(name)].get<std::uint64_t>();
  }
  EXPECT_EQ(stream["frames_encoded"], encoded) << stream.dump(2);
}

// 0, step, 2 * step ... below the end.
[[nodiscard]] inline std::vector<std::uint32_t> Numbers(std::uint32_t end, std::uint32_t step = 1) {
  std::vector<std::uint32_t> numbers;
  for (std::uint32_t number = 0; number < end; number += step) numbers.push_back(number);
  return numbers;
}

}  // namespace movra::app

#endif  // MOVRA_APP_PROGRAM_FOR_TEST_H_
