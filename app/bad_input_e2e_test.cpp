// Every mistake gets one line that names it and an exit code of its own, and leaves nothing behind.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

#include "app/program_for_test.h"

namespace movra::app {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::StartsWith;

// "DIR" in the words stands for the directory of the test, "DIR/CLIP.mp4" for a good clip in it.
struct BadInput {
  std::string name;
  std::vector<std::string> words;
  int exit_code;
  std::string says;
};

void PrintTo(const BadInput& input, std::ostream* out) { *out << input.name; }

class BadInputE2e : public ProgramTest, public testing::WithParamInterface<BadInput> {
 protected:
  BadInputE2e() {
    using namespace std::string_literals;
    directory_.Write("empty.mp4", "");
    directory_.Write("text.mp4", "This is no video, whatever its name says.\n");
    directory_.Write("zeros.mp4", std::string(100'000, '\0'));
    directory_.Write("header.mp4",
                     "\0\0\0\x18"
                     "ftypisom\0\0\0\0isommp42"s);
    directory_.Write("file", "x");
    directory_.Write("there.mp4", "mine");
    fs::create_directory(directory_ / "folder");
    fs::create_directory(directory_ / "used");
    directory_.Write("used/big.mp4", "mine");
    fs::create_symlink("nowhere", directory_ / "dangling.mp4");
  }

  std::string Filled(std::string word) const {
    if (word.find("CLIP") != std::string::npos && !Exists("CLIP.mp4")) {
      fs::copy_file(MakeClip(5, {64, 64}), directory_ / "CLIP.mp4");
    }
    const std::size_t at = word.find("DIR");
    return at == std::string::npos ? word : word.replace(at, 3, directory_.path().string());
  }
};

TEST_P(BadInputE2e, GetsItsLineAndItsCodeAndLeavesNothingBehind) {
  std::vector<std::string> words;
  for (const std::string& word : GetParam().words) words.push_back(Filled(word));
  const std::vector<std::string> before = directory_.Names();
  const ProcessResult result = RunProcess(Program(words));
  EXPECT_EQ(result.exit_code, GetParam().exit_code) << result.err;
  EXPECT_EQ(result.out, "");
  EXPECT_THAT(result.err, StartsWith("movra-producer: "));
  EXPECT_THAT(result.err, HasSubstr(Filled(GetParam().says)));
  EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
  EXPECT_EQ(directory_.Names(), before);
}

std::vector<BadInput> BadInputs() {
  const std::string clip = "file:DIR/CLIP.mp4";
  return {
      // What was typed.
      {"NoCommand", {}, 2, "a command is missing; use run or devices"},
      {"UnknownCommand", {"play"}, 2, "unknown command 'play'"},
      {"UnknownOption", {"run", "--frobnicate"}, 2, "unknown option '--frobnicate'"},
      {"UnknownOptionOfDevices", {"devices", "--xml"}, 2, "unknown option '--xml'"},
      {"StrayWord", {"run", "talk.mp4"}, 2, "given as --camera file:talk.mp4"},
      {"MissingValue", {"run", "--big"}, 2, "--big"},
      {"OptionTwice", {"run", "--big", "@30", "--big", "@20"}, 2, "--big"},
      {"OnceAndLoop", {"run", "--camera", clip, "--once", "--loop"}, 3, "--once and --loop"},
      {"FastAndRealtime", {"run", "--camera", clip, "--fast", "--realtime"}, 3, "--fast"},
      {"LoopOfALiveCamera", {"run", "--loop"}, 3, "--loop is for video files"},
      {"SizeInAnotherMode", {"run", "--mode", "0", "--size", "640x360"}, 3, "means --mode 3"},
      {"BothStreamsOff", {"run", "--big", "off", "--small", "off"}, 3, "nothing to do"},
      {"MalformedSpec", {"run", "--big", "1280*720"}, 4, "--big: '1280*720' is neither a size"},
      {"EmptyPiece", {"run", "--big", "1280x720,,a.mp4"}, 4, "has an empty piece"},
      {"MalformedRateInSpec", {"run", "--small", "320x180@x"}, 4, "--small: 'x' is not a rate"},
      {"MalformedTime", {"run", "--duration", "ten"}, 4, "--duration: 'ten' is not a time"},
      {"TimeWithoutUnit", {"run", "--duration", "10"}, 4, "write 10s, 1m30s"},
      {"NegativeTime", {"run", "--duration", "-1s"}, 4, "'-1s' is not a time"},
      {"MalformedSize", {"run", "--size", "large"}, 4, "--size: 'large' is not a size"},
      {"MalformedRate", {"run", "--fps", "29.97"}, 4, "--fps: '29.97' is not a rate"},
      {"UnknownMode", {"run", "--mode", "7"}, 4, "--mode: '7' is not a mode; use 0 to 3"},
      {"UnknownLevel", {"run", "--log-level", "loud"}, 4, "use off, error, warning or info"},
      {"EmptyDirectoryName", {"run", "--out", ""}, 4, "--out: the name is empty"},
      {"SizeOfZero", {"run", "--size", "0x0"}, 5, "the width is 0"},
      {"SpecSizeOfZero", {"run", "--big", "1280x0"}, 5, "the height is 0"},
      {"RateOfZero", {"run", "--fps", "0"}, 5, "--fps: the rate is 0"},
      {"SpecRateOfZero", {"run", "--small", "@0"}, 5, "--small: the rate is 0"},
      {"BitRateOfZero", {"run", "--big", "0k"}, 5, "the bit rate is 0"},
      {"TimeOfZero", {"run", "--duration", "0s"}, 5, "no time at all"},
      {"OddSize", {"run", "--big", "1281x720"}, 6, "the width is odd"},
      {"OddHeight", {"run", "--size", "640x361"}, 6, "the height is odd"},
      {"HugeSize", {"run", "--big", "100000x100000"}, 6, "from 16 to 8192"},
      {"TinySize", {"run", "--small", "2x2"}, 6, "from 16 to 8192"},
      {"HugeRate", {"run", "--fps", "100000"}, 6, "1 to 240"},
      {"HugeBitRate", {"run", "--big", "10000M"}, 6, "10k to 500M"},
      {"TinyBitRate", {"run", "--big", "1500"}, 6, "10k to 500M"},
      {"EndlessTime", {"run", "--duration", "100000h"}, 6, "1000h is the longest"},
      {"UnknownEnding", {"run", "--big", "talk.avi"}, 7, "use .mp4, .mkv, .ts or .h264"},
      {"UnknownEndingOfStandardOutput", {"run", "--big", "-.avi"}, 7, "'-.avi'"},
      {"OneFileForBoth",
       {"run", "--camera", clip, "--big", "a.mp4", "--small", "a.mp4"},
       8,
       "--big and --small both go to"},
      {"OneFileUnderTwoNames",
       {"run", "--camera", clip, "--out", "DIR/o", "--big", "a.mp4", "--small", "DIR/o/./a.mp4"},
       8,
       "--big and --small both go to"},
      {"StandardOutputTwice",
       {"run", "--camera", clip, "--big", "-", "--small", "-"},
       8,
       "both go to standard output"},
      {"StatsIntoAStream",
       {"run", "--camera", clip, "--big", "-", "--stats", "-"},
       8,
       "--big and --stats both go to standard output"},
      {"OverTheSource",
       {"run", "--camera", clip, "--big", "DIR/CLIP.mp4", "--force"},
       8,
       "--big would overwrite the source"},

      // The source.
      {"NoSuchFile", {"run", "--camera", "file:DIR/missing.mp4"}, 10, "DIR/missing.mp4"},
      {"DanglingLink", {"run", "--camera", "file:DIR/dangling.mp4"}, 10, "DIR/dangling.mp4"},
      {"NoFileName", {"run", "--camera", "file:"}, 10, "there is no file ''"},
      {"ADirectory", {"run", "--camera", "file:DIR/folder"}, 11, "DIR/folder"},
      {"ADevice", {"run", "--camera", "file:/dev/null"}, 11, "/dev/null"},
      {"AnEmptyFile", {"run", "--camera", "file:DIR/empty.mp4"}, 12, "DIR/empty.mp4"},
      {"NoVideo", {"run", "--camera", "file:DIR/text.mp4"}, 13, "DIR/text.mp4"},
      {"Zeros", {"run", "--camera", "file:DIR/zeros.mp4"}, 13, "DIR/zeros.mp4"},
      {"AHeaderAlone", {"run", "--camera", "file:DIR/header.mp4"}, 13, "DIR/header.mp4"},
      {"UnknownCamera", {"run", "--camera", "webcam"}, 14, "webcam"},
      {"EmptyCamera", {"run", "--camera", ""}, 14, "use test:, file:PATH or /dev/videoN"},
      {"MissingDevice", {"run", "--camera", "/dev/video99"}, 14, "/dev/video99"},

      // Where it goes.
      {"FileIsThere",
       {"run", "--camera", clip, "--out", "DIR/used"},
       20,
       "DIR/used/big.mp4' is there already; add --force"},
      {"NamedFileIsThere",
       {"run", "--camera", clip, "--big", "DIR/there.mp4"},
       20,
       "DIR/there.mp4' is there already"},
      {"DirectoryCannotBeMade", {"run", "--camera", clip, "--out", "/proc/x"}, 21, "'/proc/x'"},
      {"DirectoryIsAFile",
       {"run", "--camera", clip, "--out", "file"},
       21,
       "'file' is no directory"},
      {"DirectoryBelowAFile", {"run", "--camera", clip, "--out", "file/x"}, 21, "directory 'file"},
      {"FileWithoutDirectory",
       {"run", "--camera", clip, "--big", "DIR/no/a.mp4"},
       21,
       "directory 'DIR/no' does not exist"},
      {"FileIsADirectory",
       {"run", "--camera", clip, "--out", "DIR/o", "--stats", "DIR/folder", "--force"},
       21,
       "DIR/folder' is a directory"},

      // What happens to it.
      {"NoTimeForAFrame",
       {"run", "--camera", clip, "--duration", "0.001ms", "--quiet"},
       30,
       "stream received no frame"},
  };
}

INSTANTIATE_TEST_SUITE_P(All, BadInputE2e, testing::ValuesIn(BadInputs()),
                         [](const testing::TestParamInfo<BadInput>& input) {
                           return input.param.name;
                         });

TEST(BadInputTable, IsLongEnoughAndHasNoCodeThatHelpDoesNotList) {
  EXPECT_GE(BadInputs().size(), 60U);
  const std::string help = RunProcess({.words = {MOVRA_PRODUCER_BINARY, "run", "--help"}}).out;
  for (const BadInput& input : BadInputs()) {
    const std::string code = std::to_string(input.exit_code);
    EXPECT_THAT(help, HasSubstr("\n" + std::string(4 - code.size(), ' ') + code + "  "));
  }
}

}  // namespace
}  // namespace movra::app
