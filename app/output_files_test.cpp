#include "app/output_files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "media/temporary_directory_for_test.h"

namespace movra::app {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class OutputFilesTest : public testing::Test {
 protected:
  OutputFilesTest() { options_.out_directory = "out"; }

  void Big(const std::string& spec) { options_.big = ValueOf(ParseStreamSpec(spec)); }
  void Small(const std::string& spec) { options_.small = ValueOf(ParseStreamSpec(spec)); }

  Result<OutputFiles> Plan() const {
    return PlanOutputFiles(options_, PlanCapture(options_, {}).streams, {});
  }

  // The failure of a plan, which must leave behind what was there before and nothing else.
  Failure Refused() const {
    const auto before = temporary_.Names();
    const Failure* failure = nullptr;
    Failure copy{ExitCode::kSuccess, "accepted"};
    {
      const auto result = Plan();
      failure = FailureOf(result);
      if (failure != nullptr) copy = *failure;
    }
    EXPECT_EQ(temporary_.Names(), before);
    return copy;
  }

  media::TemporaryDirectory temporary_;
  media::WorkingDirectory working_{temporary_.path()};
  RunOptions options_;
};

TEST_F(OutputFilesTest, TheDefaultFilesLandInTheDirectory) {
  const auto result = Plan();
  ASSERT_EQ(FailureOf(result), nullptr) << FailureOf(result)->text;
  const OutputFiles& files = ValueOf(result);
  EXPECT_EQ(files.streams[0], (StreamTarget{"out/big.mp4", media::ContainerFormat::kMp4}));
  EXPECT_EQ(files.streams[1], (StreamTarget{"out/small.mp4", media::ContainerFormat::kMp4}));
  EXPECT_EQ(files.contact_sheet, "out/contact-sheet.png");
  EXPECT_EQ(files.stats, "");
  EXPECT_TRUE(fs::is_directory("out"));
}

TEST_F(OutputFilesTest, NamesThatLeadNowhereAreToldApart) {
  Big(std::string(300, 'n') + ".mp4");
  Small(std::string(300, 'm') + ".mp4");
  const Failure failure = Refused();
  EXPECT_EQ(failure.code, ExitCode::kDirectoryNotWritable);
  EXPECT_THAT(failure.text, HasSubstr("File name too long"));
}

TEST_F(OutputFilesTest, ALinkThatGoesInACircleIsNotTakenForAFile) {
  fs::create_directory("out");
  fs::create_symlink("big.mp4", "out/big.mp4");
  for (const bool force : {false, true}) {
    options_.force = force;
    const Failure failure = Refused();
    EXPECT_EQ(failure.code, ExitCode::kDirectoryNotWritable);
    EXPECT_THAT(failure.text, HasSubstr("'out/big.mp4' cannot be written: Too many levels"));
  }
}

TEST_F(OutputFilesTest, RelativeNamesLandInTheDirectoryAndAbsoluteOnesStay) {
  Big("sub/talk.mkv");
  Small(temporary_ / "low.ts");
  options_.stats = "figures.json";
  const auto result = Plan();
  ASSERT_EQ(FailureOf(result), nullptr) << FailureOf(result)->text;
  EXPECT_EQ(ValueOf(result).streams[0].path, "out/sub/talk.mkv");
  EXPECT_EQ(ValueOf(result).streams[1].path, temporary_ / "low.ts");
  EXPECT_EQ(ValueOf(result).stats, "out/figures.json");
  EXPECT_TRUE(fs::is_directory("out/sub"));
}

TEST_F(OutputFilesTest, FurtherPlacesLandAsTheFirstDoes) {
  options_.big.also = {StreamTarget{"sub/b.ts", media::ContainerFormat::kMpegTs},
                       StreamTarget{temporary_ / "c.mkv", media::ContainerFormat::kMkv}};
  const auto result = Plan();
  ASSERT_EQ(FailureOf(result), nullptr) << FailureOf(result)->text;
  const auto targets = ValueOf(result).targets_of(0);
  ASSERT_EQ(targets.size(), 3U);
  EXPECT_EQ(targets[0].path, "out/big.mp4");
  EXPECT_EQ(targets[1].path, "out/sub/b.ts");
  EXPECT_EQ(targets[2].path, temporary_ / "c.mkv");
  EXPECT_EQ(ValueOf(result).targets_of(1).size(), 1U);
  EXPECT_TRUE(fs::is_directory("out/sub"));
}

TEST_F(OutputFilesTest, AFurtherPlaceIsGuardedAsTheFirstIs) {
  options_.small.also = {StreamTarget{"big.mp4"}};
  EXPECT_THAT(Refused().text, HasSubstr("--big and --also small both go to 'out/big.mp4'"));
  fs::create_directory("out");
  temporary_.Write("out/b.mp4", "mine");
  options_.small.also = {StreamTarget{"b.mp4"}};
  EXPECT_EQ(Refused().code, ExitCode::kOutputExists);
}

TEST_F(OutputFilesTest, APlaceThatIsNoFileHasNoPath) {
  StreamTarget target{"//host/x", media::ContainerFormat::kMpegTs, "net"};
  options_.contact_sheet = true;
  options_.big.target = target;
  options_.big.also = {target};
  options_.small.off = true;
  const auto result = Plan();
  ASSERT_EQ(FailureOf(result), nullptr) << FailureOf(result)->text;
  EXPECT_EQ(ValueOf(result).streams[0], target);
  EXPECT_EQ(ValueOf(result).contact_sheet, "");
  EXPECT_FALSE(ValueOf(result).directory);
  EXPECT_THAT(temporary_.Names(), IsEmpty());
}

TEST_F(OutputFilesTest, APlaceThatIsNoFileStaysWhereItIsBesideFiles) {
  const StreamTarget target{"host/x", media::ContainerFormat::kMpegTs, "net"};
  options_.big.also = {target};
  const auto result = Plan();
  ASSERT_EQ(FailureOf(result), nullptr) << FailureOf(result)->text;
  EXPECT_EQ(ValueOf(result).targets_of(0)[1], target);
  EXPECT_FALSE(fs::exists("out/host"));
}

TEST_F(OutputFilesTest, WithoutADirectoryNameTheRunGetsANewOne) {
  options_.out_directory.reset();
  const auto result = Plan();
  EXPECT_THAT(ValueOf(result).streams[0].path, StartsWith("movra-out/"));
}

TEST_F(OutputFilesTest, StreamsToStandardOutputAloneNeedNoDirectoryAndGetNoPicture) {
  Big("-");
  Small("off");
  const auto result = Plan();
  ASSERT_EQ(FailureOf(result), nullptr);
  EXPECT_FALSE(ValueOf(result).directory);
  EXPECT_EQ(ValueOf(result).contact_sheet, "");
  EXPECT_EQ(ValueOf(result).streams[0].path, "-");
  EXPECT_THAT(temporary_.Names(), IsEmpty());
}

TEST_F(OutputFilesTest, WithoutAContactSheetOnlyFilesThatLandInTheDirectoryNeedOne) {
  options_.contact_sheet = false;
  const auto landing = Plan();
  ASSERT_EQ(FailureOf(landing), nullptr);
  EXPECT_TRUE(ValueOf(landing).directory);
  EXPECT_EQ(ValueOf(landing).contact_sheet, "");
  Big(temporary_.path() / "a.mp4");
  Small("off");
  const auto elsewhere = Plan();
  ASSERT_EQ(FailureOf(elsewhere), nullptr);
  EXPECT_FALSE(ValueOf(elsewhere).directory);
}

TEST_F(OutputFilesTest, TwoStreamsIntoOneFileAreRefusedUnderWhateverNames) {
  Big("a.mp4");
  for (const std::string& name : {std::string("a.mp4"), std::string("./a.mp4"),
                                  std::string("../out/a.mp4"), temporary_ / "out/a.mp4"}) {
    Small(name);
    const Failure failure = Refused();
    EXPECT_EQ(failure.code, ExitCode::kSameOutput) << name;
    EXPECT_THAT(failure.text, HasSubstr("--big and --small both go to")) << name;
  }
}

TEST_F(OutputFilesTest, TwoNamesOfOneFileThatIsThereAreRefused) {
  fs::create_directory("out");
  temporary_.Write("out/a.mp4", "x");
  fs::create_hard_link("out/a.mp4", "out/b.mp4");
  options_.force = true;
  Big("a.mp4");
  Small("b.mp4");
  EXPECT_EQ(Refused().code, ExitCode::kSameOutput);
}

TEST_F(OutputFilesTest, StandardOutputTakesOneOutput) {
  Big("-");
  Small("-.mkv");
  EXPECT_THAT(Refused().text, HasSubstr("--big and --small both go to standard output"));
  Small("off");
  options_.stats = "-";
  EXPECT_THAT(Refused().text, HasSubstr("--big and --stats both go to standard output"));
  EXPECT_EQ(Refused().code, ExitCode::kSameOutput);
}

TEST_F(OutputFilesTest, TheStatsMayNotGoIntoAStream) {
  options_.stats = "big.mp4";
  EXPECT_THAT(Refused().text, HasSubstr("--big and --stats both go to 'out/big.mp4'"));
}

TEST_F(OutputFilesTest, TheSourceIsNeverOverwrittenNotEvenByForce) {
  options_.source = "file:" + temporary_.Write("talk.mp4", "x");
  options_.force = true;
  Big("../talk.mp4");
  const Failure failure = Refused();
  EXPECT_EQ(failure.code, ExitCode::kSameOutput);
  EXPECT_THAT(failure.text, HasSubstr("--big would overwrite the source"));
}

TEST_F(OutputFilesTest, FilesThatAreThereAreRefusedWithoutForce) {
  fs::create_directory("out");
  for (const char* name : {"out/big.mp4", "out/small.mp4", "out/contact-sheet.png"}) {
    temporary_.Write(name, "mine");
    const Failure failure = Refused();
    EXPECT_EQ(failure.code, ExitCode::kOutputExists);
    EXPECT_THAT(failure.text, HasSubstr("'" + std::string(name) + "' is there already"));
    EXPECT_THAT(failure.text, HasSubstr("--force"));
    fs::remove(name);
  }
  temporary_.Write("out/big.mp4", "mine");
  options_.force = true;
  EXPECT_EQ(Refused().code, ExitCode::kSuccess);
}

TEST_F(OutputFilesTest, ADirectoryInPlaceOfAFileIsNamed) {
  fs::create_directories("out/big.mp4");
  options_.force = true;
  const Failure failure = Refused();
  EXPECT_EQ(failure.code, ExitCode::kDirectoryNotWritable);
  EXPECT_THAT(failure.text, HasSubstr("'out/big.mp4' is a directory"));
}

TEST_F(OutputFilesTest, AnAbsoluteFileNeedsItsDirectory) {
  Big(temporary_ / "missing/talk.mp4");
  const Failure failure = Refused();
  EXPECT_EQ(failure.code, ExitCode::kDirectoryNotWritable);
  EXPECT_THAT(failure.text,
              HasSubstr("--big: directory '" + (temporary_ / "missing") + "' does not exist"));
}

TEST_F(OutputFilesTest, ADirectoryThatCannotBeMadeIsRefused) {
  options_.out_directory = "/proc/movra";
  EXPECT_EQ(Refused().code, ExitCode::kDirectoryNotWritable);
}

}  // namespace
}  // namespace movra::app
