#include "app/output_directory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>

#include "media/temporary_directory_for_test.h"
#include "media/without_rights_of_root_for_test.h"

namespace movra::app {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const std::chrono::system_clock::time_point kNow{std::chrono::hours(24 * 365 * 50)};

class OutputDirectoryTest : public testing::Test {
 protected:
  media::TemporaryDirectory temporary_;
  media::WorkingDirectory working_{temporary_.path()};
};

TEST_F(OutputDirectoryTest, WithoutANameEachRunGetsANewOneNamedAfterTheTime) {
  const auto first = OutputDirectory::Make(std::nullopt, kNow);
  const auto second = OutputDirectory::Make(std::nullopt, kNow);
  ASSERT_EQ(FailureOf(first), nullptr);
  ASSERT_EQ(FailureOf(second), nullptr);
  const std::string name = ValueOf(first).path().string();
  EXPECT_THAT(name, testing::MatchesRegex(
                        "movra-out/[0-9]{4}-[0-9]{2}-[0-9]{2}_[0-9]{2}-[0-9]{2}-[0-9]{2}"));
  EXPECT_EQ(ValueOf(second).path(), name + "-2");
  EXPECT_TRUE(fs::is_directory(name));
  EXPECT_TRUE(fs::is_directory(name + "-2"));
}

TEST_F(OutputDirectoryTest, WhatStayedEmptyGoesWithTheRun) {
  {
    auto made = OutputDirectory::Make("a/b", kNow);
    ASSERT_EQ(FailureOf(made), nullptr);
    EXPECT_EQ(ValueOf(made).MakeParentOf("c/d/talk.mp4"), std::nullopt);
    EXPECT_TRUE(fs::is_directory("a/b/c/d"));
  }
  EXPECT_THAT(temporary_.Names(), IsEmpty());
}

TEST_F(OutputDirectoryTest, WhatGotAFileStays) {
  {
    const auto made = OutputDirectory::Make(std::nullopt, kNow);
    std::ofstream(ValueOf(made).path() / "big.mp4") << "x";
  }
  EXPECT_EQ(temporary_.Names().size(), 3U);
}

TEST_F(OutputDirectoryTest, ADirectoryThatWasThereStaysEvenIfItIsEmpty) {
  fs::create_directory("mine");
  { const auto made = OutputDirectory::Make("mine", kNow); }
  EXPECT_THAT(temporary_.Names(), ElementsAre("mine"));
}

TEST_F(OutputDirectoryTest, AFailureTakesAwayWhatWasMadeOnTheWay) {
  temporary_.Write("file", "x");
  EXPECT_NE(FailureOf(OutputDirectory::Make("file/below", kNow)), nullptr);
  EXPECT_NE(FailureOf(OutputDirectory::Make("new/../file/below", kNow)), nullptr);
  EXPECT_THAT(temporary_.Names(), ElementsAre("file"));
}

TEST_F(OutputDirectoryTest, AFileInTheWayIsNamedWithTheRightCode) {
  temporary_.Write("file", "x");
  for (const char* name : {"file", "file/below"}) {
    const auto made = OutputDirectory::Make(name, kNow);
    ASSERT_NE(FailureOf(made), nullptr) << name;
    EXPECT_EQ(FailureOf(made)->code, ExitCode::kDirectoryNotWritable);
    EXPECT_THAT(FailureOf(made)->text, HasSubstr("directory 'file"));
    EXPECT_THAT(FailureOf(made)->text, HasSubstr("--out DIR"));
  }
}

// Nobody, not even root, makes a directory in /proc.
TEST_F(OutputDirectoryTest, ADirectoryThatCannotBeMadeIsNamedWithTheReason) {
  const auto made = OutputDirectory::Make("/proc/movra", kNow);
  ASSERT_NE(FailureOf(made), nullptr);
  EXPECT_EQ(FailureOf(made)->code, ExitCode::kDirectoryNotWritable);
  EXPECT_THAT(FailureOf(made)->text, HasSubstr("'/proc/movra' cannot be made"));
}

TEST_F(OutputDirectoryTest, ANameThatLeadsNowhereIsSaidToDoSo) {
  fs::create_symlink("round", "round");
  const std::string long_name(300, 'n');
  for (const auto& [name, why] : {std::pair{std::string("round"), "Too many levels"},
                                  std::pair{std::string("round/below"), "Too many levels"},
                                  std::pair{long_name, "File name too long"},
                                  std::pair{"below/" + long_name, "File name too long"}}) {
    const auto made = OutputDirectory::Make(name, kNow);
    ASSERT_NE(FailureOf(made), nullptr) << name;
    EXPECT_EQ(FailureOf(made)->code, ExitCode::kDirectoryNotWritable) << name;
    EXPECT_THAT(FailureOf(made)->text, HasSubstr(why));
  }
  EXPECT_THAT(temporary_.Names(), ElementsAre("round"));
}

TEST_F(OutputDirectoryTest, ADirectoryThatMayNotBeWrittenIsTheReason) {
  fs::create_directory("locked");
  fs::permissions("locked", fs::perms::owner_read | fs::perms::owner_exec);
  const media::WithoutRightsOfRoot without;
  const auto made = OutputDirectory::Make("locked/new", kNow);
  ASSERT_NE(FailureOf(made), nullptr);
  EXPECT_THAT(FailureOf(made)->text,
              HasSubstr("directory 'locked/new' cannot be made: Permission denied"));
}

TEST_F(OutputDirectoryTest, LatestPointsAtTheLastRunThatSaidSo) {
  const auto first = OutputDirectory::Make(std::nullopt, kNow);
  ValueOf(first).PointLatestHere();
  EXPECT_EQ(fs::canonical("movra-out/latest"), fs::canonical(ValueOf(first).path()));
  const auto second = OutputDirectory::Make(std::nullopt, kNow);
  ValueOf(second).PointLatestHere();
  EXPECT_EQ(fs::canonical("movra-out/latest"), fs::canonical(ValueOf(second).path()));
  EXPECT_EQ(fs::read_symlink("movra-out/latest"), ValueOf(second).path().filename());
}

TEST_F(OutputDirectoryTest, SomethingElseThatIsCalledLatestIsLeftAlone) {
  fs::create_directory("movra-out");
  temporary_.Write("movra-out/latest", "mine");
  const auto made = OutputDirectory::Make(std::nullopt, kNow);
  ValueOf(made).PointLatestHere();
  EXPECT_TRUE(fs::is_regular_file(fs::symlink_status("movra-out/latest")));
}

TEST_F(OutputDirectoryTest, ADirectoryWithANameGetsNoLatest) {
  const auto made = OutputDirectory::Make("runs/one", kNow);
  ValueOf(made).PointLatestHere();
  EXPECT_FALSE(fs::exists(fs::symlink_status("runs/latest")));
}

}  // namespace
}  // namespace movra::app
