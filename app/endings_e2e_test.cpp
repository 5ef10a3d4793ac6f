// However a run ends, it says so in a line, its exit code says why, and what it wrote plays.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <ostream>
#include <set>

#include "app/ending_for_test.h"
#include "app/torn_end_for_test.h"
#include "media/ffmpeg/decode_for_test.h"

namespace movra::app {

void PrintTo(const Ending& ending, std::ostream* out) { *out << ending.name; }

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class EndingE2e : public testing::TestWithParam<Ending> {
 protected:
  EndingE2e() {
    using namespace std::string_literals;
    directory_.Write("empty.mp4", "");
    directory_.Write("text.mp4", "This is no video, whatever its name says.\n");
    directory_.Write("zeros.mp4", std::string(100'000, '\0'));
    directory_.Write("header.mp4",
                     "\0\0\0\x18"
                     "ftypisom\0\0\0\0isommp42"s);
    directory_.Write("playlist.mp4",
                     "#EXTM3U\n#EXT-X-TARGETDURATION:10\n#EXTINF:10,\nthere.mp4\n#EXT-X-ENDLIST\n");
    directory_.Write("list.mp4", "ffconcat version 1.0\nfile list.mp4\n");
    directory_.Write("file", "x");
    directory_.Write("there.mp4", "mine");
    for (const char* name : {"folder", "used", "sheet", "held", "locked", "full"}) {
      fs::create_directory(directory_ / name);
    }
    directory_.Write("used/big.mp4", "mine");
    directory_.Write("sheet/contact-sheet.png", "mine");
    directory_.Write("held/big.mp4", "mine");
    fs::permissions(directory_ / "held/big.mp4", fs::perms::owner_read);
    fs::permissions(directory_ / "locked", fs::perms::owner_read | fs::perms::owner_exec);
    fs::create_symlink("/dev/full", directory_ / "full/big.mp4");
    fs::create_symlink("nowhere", directory_ / "dangling.mp4");
  }

  // Every file with what is in it.
  [[nodiscard]] std::map<std::string, std::string> Contents() const {
    std::map<std::string, std::string> contents;
    for (const std::string& name : directory_.Names()) {
      std::string& content = contents[name];
      if (!fs::is_regular_file(fs::symlink_status(directory_ / name))) continue;
      std::ifstream file(directory_ / name, std::ios::binary);
      content.assign(std::istreambuf_iterator<char>(file), {});
    }
    return contents;
  }

  // Within a write, a killed process leaves what was written of it.
  void LeaveOutATornEnd(const std::string& file) const {
    const std::string path = directory_ / file;
    if (fs::exists(path)) fs::resize_file(path, BytesBeforeATornEnd(path));
  }

  void ExpectPlays(const LeftBehind& left) const {
    std::error_code error;
    const std::uintmax_t size = fs::file_size(directory_ / left.file, error);
    if (left.at_least == 0 && (error || size == 0)) return;
    if (left.step == 0) {
      const media::DecodedFile file = media::DecodeFile(directory_ / left.file);
      EXPECT_EQ(file.error, "") << left.file;
      EXPECT_GE(file.pictures.size(), left.at_least) << left.file;
      return;
    }
    const PlayedFile played = Play(directory_ / left.file);
    EXPECT_EQ(played.error, "") << left.file;
    EXPECT_GE(played.numbers.size(), left.at_least) << left.file;
    for (std::size_t i = 0; i < played.numbers.size(); ++i) {
      ASSERT_EQ(played.numbers[i], i * left.step) << left.file << " frame " << i;
    }
  }

  static void ExpectEnd(const Ending& ending, const ProcessResult& result, EndingRun& run) {
    if (ending.code < 0) {
      EXPECT_EQ(result.signal, -ending.code) << result.err;
    } else {
      EXPECT_EQ(result.signal, 0) << result.err;
      EXPECT_EQ(result.exit_code, ending.code) << result.err;
    }
    EXPECT_THAT(result.err, HasSubstr(run.Filled(ending.says)));
    EXPECT_THAT(result.err, Not(HasSubstr("\033"))) << "is for terminals";
  }

  const media::TemporaryDirectory directory_;
  const media::ClipDirectory clips_;
};

TEST_P(EndingE2e, SaysItsLineHasItsCodeAndWhatIsLeftPlays) {
  const Ending& ending = GetParam();
  EndingRun run(directory_, clips_);
  std::vector<std::string> words;
  for (const std::string& word : ending.words) words.push_back(run.Filled(word));
  const std::string refusal = ending.prepare ? ending.prepare(run) : "";
  // Some need a mount, which containers refuse, or narrow limits, which sanitizers exceed.
  if (!refusal.empty()) GTEST_SKIP() << refusal;
  const auto before = Contents();
  run.Start(words, ending.in_child);
  if (ending.meanwhile) ending.meanwhile(run);
  const ProcessResult result = run.process().Wait();
  SCOPED_TRACE(run.note + "\n" + result.err);
  ExpectEnd(ending, result, run);
  for (const LeftBehind& left : ending.leaves) {
    if (ending.code == -SIGKILL) LeaveOutATornEnd(left.file);
    ExpectPlays(left);
  }
  if (!ending.leaves.empty()) return;
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1);
  EXPECT_THAT(result.err, StartsWith("movra-producer: "));
  EXPECT_TRUE(Contents() == before) << "something was left behind or changed";
}

std::vector<Ending> AllEndings() {
  std::vector<Ending> rows = EndingsOfWhatWasTyped();
  for (auto more : {&EndingsOfSources, &EndingsOfOutputs, &EndingsOfProcesses}) {
    for (Ending& row : more()) rows.push_back(std::move(row));
  }
  return rows;
}

class TornEndE2e : public ProgramTest, public testing::WithParamInterface<const char*> {};

// What players make of the bytes before it, wherever the process was killed; without a word of the
// decoder, which is what strict readers would stop at.
TEST_P(TornEndE2e, WhateverComesBeforeItPlaysAndNothingElseIsLeftOut) {
  const std::string name = std::string("a") + GetParam();
  ASSERT_EQ(
      Run({"--camera", "test:?lossless&size=640x360&frames=60", "--small", "off", "--big", name})
          .exit_code,
      0);
  const std::string whole = directory_ / ("out/" + name);
  const std::string cut = directory_ / name;
  const std::uintmax_t size = fs::file_size(whole);
  std::size_t most_left_out = 0;
  for (std::uintmax_t part = 40; part < 100; part += 3) {
    SCOPED_TRACE(part);
    fs::copy_file(whole, cut, fs::copy_options::overwrite_existing);
    fs::resize_file(cut, size * part / 100);
    fs::resize_file(cut, BytesBeforeATornEnd(cut));
    const PlayedFile played = Play(cut);
    EXPECT_EQ(played.error, "");
    EXPECT_EQ(played.numbers, Numbers(static_cast<std::uint32_t>(played.numbers.size())));
    const std::size_t there = 60 * part / 100;
    if (played.numbers.size() < there)
      most_left_out = std::max(most_left_out, there - played.numbers.size());
  }
  // A quarter of a second, and pictures are not all of one size.
  EXPECT_LT(most_left_out, 20U);
}

INSTANTIATE_TEST_SUITE_P(Containers, TornEndE2e, testing::Values(".mp4", ".mkv", ".ts"),
                         [](const testing::TestParamInfo<const char*>& row) {
                           return std::string(row.param + 1);
                         });

INSTANTIATE_TEST_SUITE_P(All, EndingE2e, testing::ValuesIn(AllEndings()),
                         [](const testing::TestParamInfo<Ending>& row) { return row.param.name; });

TEST(EndingTable, HasARowForEveryCodeThatTheHelpListsAndNoOther) {
  std::set<std::string> seen;
  for (const Ending& row : AllEndings()) {
    const std::string code = std::to_string(row.code);
    if (row.code >= 0) seen.insert(std::string(4 - code.size(), ' ') + code + "  ");
  }
  const std::string help = RunProcess({.words = {MOVRA_PRODUCER_BINARY, "run", "--help"}}).out;
  const std::string begin = "Exit codes:\n";
  std::set<std::string> listed;
  for (std::size_t at = help.find(begin) + begin.size(); help.compare(at, 1, " ") == 0;
       at = help.find('\n', at) + 1) {
    listed.insert(help.substr(at, 6));
  }
  // An error that should not happen, and a build without the encoder, which has a test of its own.
  listed.erase("   1  ");
  listed.erase("  32  ");
  EXPECT_EQ(seen, listed);
  EXPECT_GE(AllEndings().size(), 60U);
}

}  // namespace
}  // namespace movra::app
