// What a session leaves in containers, which takes a library to write and one to read.

#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>

#include "app/run_session_for_test.h"

namespace movra::app {
namespace {

namespace fs = std::filesystem;

class RunSessionFiles : public RunSessionTest {};

// The packets of a file, as a reader that knows nothing of it finds them.
std::string PacketTimes(const std::string& path) {
  const std::string command =
      "ffprobe -v quiet -show_entries packet=pts_time -of csv=p=0 '" + path + "'";
  FILE* const pipe = popen(command.c_str(), "r");
  std::string text;
  for (int c; (c = fgetc(pipe)) != EOF;) text += static_cast<char>(c);
  EXPECT_EQ(pclose(pipe), 0);
  return text;
}

TEST_F(RunSessionFiles, TheFilesAreWholeWhenItIsOverAndHaveOneTimeLine) {
  AddStream(kBig, "big.mkv");
  AddStream(kSmall, "small.mkv");
  Begin();
  AnswerStart();
  Write(kBig, milliseconds(0));
  Write(kBig, milliseconds(100));
  WriteKeyFrame(kSmall, milliseconds(200));
  Interrupt();
  EXPECT_EQ(PacketTimes(directory_ / "big.mkv"), "0.000000\n0.100000\n");
  EXPECT_EQ(PacketTimes(directory_ / "small.mkv"), "0.200000\n");
}

TEST_F(RunSessionFiles, AFileThatCannotBeFinishedIsNamed) {
  AddStream(kBig, "big.mkv");
  Begin();
  AnswerStart();
  Write(kBig, milliseconds(0));
  std::optional<FullFile> full;
  AtEntry("big_encoder.Stop(", [&] { full.emplace(fs::file_size(directory_ / "big.mkv") + 1); });
  Interrupt();
  full.reset();
  const RunReport report = Report();
  ASSERT_EQ(report.exit_code(), ExitCode::kWriteFailed);
  EXPECT_EQ(report.failure->text, "--big: '" + (directory_ / "big.mkv") + "' is not complete");
}

}  // namespace
}  // namespace movra::app
