// How a run can end, and that what was written until then plays.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <thread>

#include "app/program_for_test.h"

namespace movra::app {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

class EndingsE2e : public ProgramTest {
 protected:
  // Waits until the stream has so many bytes.
  [[nodiscard]] bool WaitForBytes(const std::string& name, std::uintmax_t bytes) const {
    return WaitUntil([&] {
      std::error_code error;
      const auto size = fs::file_size(directory_ / name, error);
      return !error && size >= bytes;
    });
  }

  // Plays to its end, and its frames are those of the clip from the first one on, without a gap.
  void ExpectWholeStart(const std::string& file, std::uint32_t step, std::size_t period) const {
    const PlayedFile played = Play(directory_ / file);
    EXPECT_EQ(played.error, "") << file;
    ASSERT_FALSE(played.numbers.empty()) << file;
    for (std::size_t i = 0; i < played.numbers.size(); ++i) {
      ASSERT_EQ(played.numbers[i], i * step % period) << file << " frame " << i;
    }
  }

  [[nodiscard]] std::vector<std::string> EndlessRun() const {
    return {"run", "--camera", "file:" + MakeClip(60), "--loop", "--out", "out"};
  }
};

TEST_F(EndingsE2e, CtrlCAndItsRelativesEndItLikeItsNaturalEnd) {
  const std::vector<std::string> words = EndlessRun();
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
    Process process(Program(words));
    ASSERT_TRUE(WaitForBytes("out/big.mp4", 100'000));
    process.Signal(number);
    const ProcessResult result = process.Wait();
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_THAT(result.err, HasSubstr("interrupted"));
    ExpectWholeStart("out/big.mp4", 1, 60);
    ExpectWholeStart("out/small.mp4", 2, 60);
    EXPECT_TRUE(Exists("out/contact-sheet.png"));
    fs::remove_all(directory_ / "out");
  }
}

// Whatever the moment, the exit is clean and nothing that is left is broken.
TEST_F(EndingsE2e, CtrlCAtTheVeryBeginningLeavesNothingBroken) {
  const std::vector<std::string> words = EndlessRun();
  for (int milliseconds = 0; milliseconds < 50; milliseconds += 7) {
    Process process(Program(words));
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
    process.Signal(SIGINT);
    const ProcessResult result = process.Wait();
    // Before its first instruction a process knows nothing of signals.
    EXPECT_TRUE(result.exit_code == 0 || result.signal == SIGINT) << result.err;
    if (Exists("out/big.mp4")) ExpectWholeStart("out/big.mp4", 1, 60);
    if (Exists("out")) {
      EXPECT_FALSE(fs::is_empty(directory_ / "out"));
    }
    fs::remove_all(directory_ / "out");
  }
}

TEST_F(EndingsE2e, ASecondCtrlCEndsItAtOnceWhateverItWaitsFor) {
  int ends[2];
  ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
  auto options = Program({"run", "--camera", "file:" + MakeClip(60), "--loop", "--big",
                          "640x360,20M,-", "--small", "off"});
  options.out = ends[1];  // A pipe that fills up and is never read.
  Process process(options);
  // The first bytes are there; after them the writer blocks sooner or later.
  char byte = 0;
  ASSERT_EQ(read(ends[0], &byte, 1), 1);
  ASSERT_TRUE(WaitUntil([&] {
    int waiting = 0;
    ioctl(ends[0], FIONREAD, &waiting);
    return waiting > 60'000;
  }));
  const auto start = std::chrono::steady_clock::now();
  process.Signal(SIGINT);
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  process.Signal(SIGINT);
  EXPECT_EQ(process.Wait().exit_code, 130);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));
  close(ends[0]);
  close(ends[1]);
}

TEST_F(EndingsE2e, AReaderThatClosesThePipeEndsItWell) {
  int ends[2];
  ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
  auto options =
      Program({"run", "--camera", "file:" + MakeClip(60), "--loop", "--out", "out", "--big", "-"});
  options.out = ends[1];
  Process process(options);
  close(ends[1]);
  std::string bytes(50'000, '\0');
  ASSERT_GT(read(ends[0], bytes.data(), bytes.size()), 0);
  close(ends[0]);
  const ProcessResult result = process.Wait();
  EXPECT_EQ(result.signal, 0);
  EXPECT_EQ(result.exit_code, 0) << result.err;
  EXPECT_THAT(result.err, HasSubstr("reader closed the pipe"));
  ExpectWholeStart("out/small.mp4", 2, 60);
}

TEST_F(EndingsE2e, AProcessThatIsKilledLeavesFilesThatPlay) {
  Process process(Program(EndlessRun()));
  ASSERT_TRUE(WaitForBytes("out/big.mp4", 200'000));
  process.Signal(SIGKILL);
  EXPECT_EQ(process.Wait().signal, SIGKILL);
  const PlayedFile big = Play(directory_ / "out/big.mp4");
  EXPECT_GE(big.numbers.size(), 15U);
}

TEST_F(EndingsE2e, AFullDiskIsNamed) {
  fs::create_directory(directory_ / "out");
  fs::create_symlink("/dev/full", directory_ / "out/big.mp4");
  const ProcessResult result = Run({"--camera", "file:" + MakeClip(60), "--force"});
  EXPECT_EQ(result.exit_code, 22) << result.err;
  EXPECT_THAT(result.err, HasSubstr("movra-producer: --big: "));
  EXPECT_THAT(result.err, HasSubstr("No space left on device"));
}

TEST_F(EndingsE2e, AFileThatBreaksOffIsKeptAndTold) {
  const std::string broken = MakeClip(60, {640, 360}, "broken.mkv");
  fs::resize_file(broken, fs::file_size(broken) / 2);
  const ProcessResult result = Run({"--camera", "file:" + broken, "--small", "off"});
  EXPECT_EQ(result.exit_code, 16) << result.err;
  EXPECT_THAT(result.err, HasSubstr("broken.mkv"));
  const PlayedFile big = Play(directory_ / "out/big.mp4");
  EXPECT_EQ(big.error, "");
  EXPECT_GE(big.numbers.size(), 20U);
  EXPECT_LT(big.numbers.size(), 60U);
}

TEST_F(EndingsE2e, WithoutStandardDescriptorsItWorksAllTheSame) {
  auto options = Program({"run", "--camera", "file:" + MakeClip(10), "--out", "out"});
  options.in_child = [] {
    close(STDIN_FILENO);
    close(STDOUT_FILENO);
    close(STDERR_FILENO);
  };
  EXPECT_EQ(RunProcess(options).exit_code, 0);
  EXPECT_EQ(Play(directory_ / "out/big.mp4").numbers, Numbers(10));
}

}  // namespace
}  // namespace movra::app
