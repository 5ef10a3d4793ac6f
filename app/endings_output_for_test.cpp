// Places that cannot be written, are taken, are full or become full.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

#include "app/ending_for_test.h"

namespace movra::app {
namespace {

using Words = std::vector<std::string>;

constexpr char kFinite[] = "test:?lossless&size=640x360&frames=60";
constexpr char kEndless[] = "test:?lossless&size=640x360";

Words Into(const std::string& directory, const Words& more = {}, const char* camera = kFinite) {
  Words words{"run", "--camera", camera, "--out", directory};
  words.insert(words.end(), more.begin(), more.end());
  return words;
}

LeftBehind Big(const std::string& directory, std::size_t at_least) {
  return {.file = directory + "/big.mp4", .at_least = at_least};
}

LeftBehind Small(const std::string& directory, std::size_t at_least) {
  return {.file = directory + "/small.mp4", .at_least = at_least, .step = 2};
}

std::string MakePipe(EndingRun& run) {
  EXPECT_EQ(mkfifo(run.Path("pipe.ts").c_str(), 0600), 0);
  return "";
}

std::vector<Ending> Refused() {
  return {
      {"FileIsThere", Into("DIR/used"), 20, "DIR/used/big.mp4' is there already; add --force"},
      {"NamedFileIsThere", Into("out", {"--big", "DIR/there.mp4"}), 20,
       "DIR/there.mp4' is there already"},
      {"ContactSheetIsThere", Into("DIR/sheet"), 20, "contact-sheet.png' is there already"},
      {"StatsAreThere", Into("out", {"--stats", "DIR/file"}), 20, "DIR/file' is there already"},
      {"DirectoryCannotBeMade", Into("/proc/x"), 21, "'/proc/x'"},
      {"DirectoryIsAFile", Into("file"), 21, "'file' is no directory"},
      {"DirectoryBelowAFile", Into("file/x"), 21, "directory 'file"},
      {"FileWithoutDirectory", Into("out", {"--big", "DIR/no/a.mp4"}), 21,
       "directory 'DIR/no' does not exist"},
      {"FileIsADirectory", Into("out", {"--stats", "DIR/folder", "--force"}), 21,
       "DIR/folder' is a directory"},
      {"DirectoryNameIsTooLong", Into(std::string(300, 'n')), 21,
       "cannot be made: File name too long"},
      {"LinksThatGoInACircle",
       Into("DIR/round"),
       21,
       "directory 'DIR/round' cannot be written: Too many levels of symbolic links",
       {},
       [](EndingRun& run) {
         EXPECT_EQ(symlink("round", run.Path("round").c_str()), 0);
         return std::string();
       }},
      {"AFileWhoseLinksGoInACircle",
       Into("out", {"--big", "DIR/round.mp4"}),
       21,
       "--big: 'DIR/round.mp4' cannot be written: Too many levels of symbolic links",
       {},
       [](EndingRun& run) {
         EXPECT_EQ(symlink("round.mp4", run.Path("round.mp4").c_str()), 0);
         return std::string();
       }},
      {"FileNameIsTooLong", Into("out", {"--big", std::string(300, 'n').append(".mp4")}), 21,
       "File name too long"},
      {"NoRightToTheDirectory",
       Into("DIR/locked"),
       21,
       "directory 'DIR/locked' cannot be written: Permission denied",
       {},
       {},
       &DropTheRightsOfRoot},
      {"NoRightToMakeADirectory",
       Into("DIR/locked/new"),
       21,
       "directory 'DIR/locked/new' cannot be made: Permission denied",
       {},
       {},
       &DropTheRightsOfRoot},
      {"NoRightToTheFile",
       Into("DIR/held", {"--force"}),
       21,
       "DIR/held/big.mp4' cannot be written: Permission denied",
       {},
       {},
       &DropTheRightsOfRoot},
      {"AFileSystemThatIsReadOnly",
       Into("DIR/disk"),
       21,
       "Read-only file system",
       {},
       [](EndingRun& run) { return run.MountDisk("size=64k", MS_RDONLY); }},
      {"APipeThatNobodyReads",
       Into("out", {"--big", "DIR/pipe.ts"}),
       21,
       "No such device",
       {},
       &MakePipe},
  };
}

std::string FillDisk(EndingRun& run) {
  std::string refusal = run.MountDisk("size=8k");
  std::ofstream(run.Path("disk/mine")) << std::string(10'000, 'x');
  return refusal;
}

std::vector<Ending> FullDisks() {
  const auto mounted = [](const char* options) {
    return [options](EndingRun& run) { return run.MountDisk(options); };
  };
  return {
      {"ADiskThatIsFullAlready", Into("disk"), 22, "No space left on device", {}, &FillDisk},
      {"ADiskThatFillsUp",
       Into("disk", {}, kEndless),
       22,
       "No space left on device",
       {Big("disk", 15), Small("disk", 15)},
       mounted("size=128k")},
      {"ADiskThatFillsUpWithMkv",
       Into("disk", {"--big", "a.mkv", "--small", "off"}, kEndless),
       22,
       "--big: cannot write disk/a.mkv: No space left on device",
       {{.file = "disk/a.mkv", .at_least = 15}},
       mounted("size=128k")},
      {"ADiskThatFillsUpWithTs",
       Into("disk", {"--big", "a.ts", "--small", "off"}, kEndless),
       22,
       "--big: cannot write disk/a.ts: No space left on device",
       {{.file = "disk/a.ts", .at_least = 15}},
       mounted("size=128k")},
      {"ADiskWithRoomForTheStreamsAlone",
       Into("disk"),
       0,
       "no contact sheet: ",
       {Big("disk", 60), Small("disk", 30)},
       mounted("size=160k")},
      {"ADiskWithNoRoomForTheStats",
       Into("out", {"--stats", "DIR/disk/stats.json", "--no-contact-sheet"}),
       22,
       "--stats: 'DIR/disk/stats.json' could not be written",
       {Big("out", 60), Small("out", 30)},
       &FillDisk},
  };
}

std::vector<Ending> SpecialFiles() {
  return {
      {"AFileThatMayNotGrow",
       Into("out", {}, kEndless),
       22,
       "File too large",
       {Big("out", 15), Small("out", 1)},
       {},
       [] {
         const rlimit limit{50'000, 50'000};
         setrlimit(RLIMIT_FSIZE, &limit);
       }},
      {"ADeviceThatIsFull",
       Into("DIR/full", {"--force"}),
       22,
       "No space left on device",
       {{.file = "full/small.mp4", .at_least = 0, .step = 2}}},
      {"APipeThatIsRead",
       Into("out", {"--big", "DIR/pipe.ts"}),
       0,
       "60 frames in, none lost",
       {Small("out", 30)},
       [](EndingRun& run) {
         // It has room for the whole stream.
         MakePipe(run);
         const int reader = open(run.Path("pipe.ts").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
         EXPECT_GT(fcntl(reader, F_SETPIPE_SZ, 1 << 20), 0);
         run.KeepOpen(reader);
         return std::string();
       }},
  };
}

std::vector<Ending> Again() {
  const auto once = [](const Words& words) {
    return [words](EndingRun& run) {
      EXPECT_EQ(run.RunAnother(words).exit_code, 0);
      return std::string();
    };
  };
  return {
      {"ASecondRunIntoTheSameDirectory",
       Into("out"),
       20,
       "out/big.mp4' is there already",
       {},
       once(Into("out"))},
      {"ASecondRunIntoADirectoryThatIsBeingWritten",
       Into("out"),
       20,
       "out/big.mp4' is there already",
       {},
       [](EndingRun& run) {
         run.StartAnother(Into("out", {}, kEndless));
         run.WaitForBytes("out/small.mp4", 5000);
         run.other().Pause();
         return std::string();
       }},
      {"ASecondRunThatMayReplaceWhatIsBeingWritten",
       Into("out", {"--force"}),
       21,
       "--big: cannot write out/big.mp4: another run is writing it; write elsewhere",
       {},
       [](EndingRun& run) {
         run.StartAnother(Into("out", {}, kEndless));
         run.WaitForBytes("out/small.mp4", 5000);
         run.other().Pause();
         return std::string();
       }},
      {"ASecondRunThatMayReplaceTheFirst",
       Into("out", {"--force"}),
       0,
       "60 frames in, none lost",
       {Big("out", 60), Small("out", 30)},
       once(Into("out", {"--big", "640x360,5M"}))},
      {"ASecondRunWithoutADirectoryGetsAnother",
       {"run", "--camera", kFinite},
       0,
       "60 frames in, none lost",
       {Big("movra-out/latest", 60), Small("movra-out/latest", 30)},
       once({"run", "--camera", kFinite})},
  };
}

std::vector<Ending> Named() {
  return {
      {"NamesWithBlanksAndInOtherScripts",
       {"run", "--camera", "file:DIR/a clip, Führungs клип 你好.mp4", "--out", "nach hier 到这里",
        "--big", "das große Bild.mp4"},
       0,
       "nach hier 到这里/das große Bild.mp4",
       {{.file = "nach hier 到这里/das große Bild.mp4", .at_least = 30},
        Small("nach hier 到这里", 15)}},
      {"ANameThatIsNotUtf8",
       Into("out", {"--big", "\xff\xfe.mp4", "--stats", "s.json"}),
       0,
       "60 frames in",
       {{.file = "out/\xff\xfe.mp4", .at_least = 60}}},
      {"ANameThatLooksLikeAnOption",
       Into("-v", {"--big=--help.mp4"}),
       0,
       "-v/--help.mp4",
       {{.file = "-v/--help.mp4", .at_least = 60}}},
  };
}

}  // namespace

std::vector<Ending> EndingsOfOutputs() {
  std::vector<Ending> rows = Refused();
  for (auto more : {&FullDisks, &SpecialFiles, &Again, &Named}) {
    for (Ending& row : more()) rows.push_back(std::move(row));
  }
  return rows;
}

}  // namespace movra::app
