// Sources that are not there, cannot be read, are damaged or break off.

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <iterator>
#include <thread>

#include "app/ending_for_test.h"

namespace movra::app {
namespace {

std::vector<std::string> Play(const std::string& name) {
  return {"run", "--camera", "file:DIR/" + name, "--out", "out", "--small", "off"};
}

// Nothing can be decoded from these.
std::vector<Ending> Refused() {
  return {
      {"NoSuchFile", Play("missing.mp4"), 10, "there is no file 'DIR/missing.mp4'"},
      {"DanglingLink", Play("dangling.mp4"), 10, "DIR/dangling.mp4"},
      {"NoFileName", {"run", "--camera", "file:"}, 10, "there is no file ''"},
      {"ADirectory", Play("folder"), 11, "DIR/folder' is a directory"},
      {"ADevice", {"run", "--camera", "file:/dev/null"}, 11, "/dev/null"},
      {"NoRightToReadIt",
       Play("UNREADABLE.mp4"),
       11,
       "no permission to read 'DIR/UNREADABLE.mp4'",
       {},
       {},
       &DropTheRightsOfRoot},
      {"AnEmptyFile", Play("empty.mp4"), 12, "DIR/empty.mp4' is empty"},
      {"ALoopOfAPipe",
       {"run", "--camera", "file:DIR/pipe", "--loop", "--out", "out"},
       3,
       "'DIR/pipe' is a pipe, and what came through it is gone",
       {},
       [](EndingRun& run) {
         run.MakeSourcePipe();
         return std::string();
       }},
      {"NoVideo", Play("text.mp4"), 13, "DIR/text.mp4"},
      {"Zeros", Play("zeros.mp4"), 13, "DIR/zeros.mp4"},
      {"AHeaderAlone", Play("header.mp4"), 13, "DIR/header.mp4"},
      {"APlaylistThatIsCalledMp4", Play("playlist.mp4"), 13,
       "DIR/playlist.mp4' has no video of its own in it but is 'hls'"},
      {"AListThatNamesItself", Play("list.mp4"), 13,
       "DIR/list.mp4' has no video of its own in it but is 'concat'"},
      {"AnAddressAsAFile",
       {"run", "--camera", "file:http://127.0.0.1/a.mp4"},
       10,
       "there is no file 'http://127.0.0.1/a.mp4'"},
      {"AnAddress", {"run", "--camera", "http://127.0.0.1/a.mp4"}, 14, "http://127.0.0.1/a.mp4"},
      {"AnOptionThatNoFileHas",
       {"run", "--source", "file:DIR/CLIP.mp4?lop"},
       4,
       "'file:DIR/CLIP.mp4?lop': a file is not played with 'lop'"},
      {"AStartBehindTheEnd",
       {"run", "DIR/CLIP.mp4", "--start", "1h", "--out", "out"},
       4,
       "'DIR/CLIP.mp4' is over after "},
      {"UnknownCamera", {"run", "--camera", "webcam"}, 14, "webcam"},
      {"UnknownOptionOfTheTestCamera", {"run", "--camera", "test:?colour=red"}, 14, "colour=red"},
      {"MissingDevice", {"run", "--camera", "/dev/video99"}, 14, "/dev/video99"},
      {"ANameThatIsTooLong", Play(std::string(300, 'n')), 15, "File name too long"},
  };
}

// What can be decoded from these is kept.
std::vector<Ending> Damaged() {
  const std::string kept = "; the rest is kept";
  return {
      {"ADamagedMp4",
       Play("DAMAGED.mp4"),
       16,
       "could not be decoded whole" + kept,
       {{.file = "out/big.mp4", .at_least = 30, .step = 0}}},
      {"AnMp4ThatBreaksOff",
       Play("BROKEN.mp4"),
       16,
       "BROKEN.mp4' breaks off after",
       {{.file = "out/big.mp4", .at_least = 15}}},
      {"AnMkvThatBreaksOff",
       Play("BROKEN.mkv"),
       16,
       "BROKEN.mkv' breaks off after",
       {{.file = "out/big.mp4", .at_least = 15}}},
      {"AY4mThatBreaksOffInItsLastPicture",
       Play("BROKEN.y4m"),
       16,
       "s; 1 frame could not be decoded whole" + kept,
       {{.file = "out/big.mp4", .at_least = 25}}},
      {"AnMp4ThatBreaksOffPlayedInRealTime",
       {"run", "--camera", "file:DIR/BROKEN.mp4", "--out", "out", "--realtime"},
       16,
       "breaks off",
       {{.file = "out/big.mp4", .at_least = 1, .step = 0},
        {.file = "out/small.mp4", .at_least = 1, .step = 0}}},
  };
}

std::vector<std::string> PlayAnd(const std::string& name, const std::vector<std::string>& more) {
  std::vector<std::string> words = Play(name);
  words.insert(words.end(), more.begin(), more.end());
  return words;
}

// No end of the source tells of the damage, because the run ends before it.
std::vector<Ending> DamagedAndEndedEarly() {
  const std::string damage = "could not be decoded whole; the rest is kept";
  return {
      {"AnMkvThatBreaksOffWithoutRoomForItsStats",
       PlayAnd("BROKEN.mkv", {"--stats", "/dev/full", "--force"}),
       16,
       "--stats: '/dev/full' could not be written",
       {{.file = "out/big.mp4", .at_least = 15}}},
      {"ADamagedMp4UpToADuration",
       PlayAnd("DAMAGED.mp4", {"--duration", "1.9s"}),
       16,
       damage,
       {{.file = "out/big.mp4", .at_least = 20, .step = 0}}},
      {"ADamagedMp4UpToADurationBeforeTheDamage",
       PlayAnd("DAMAGED.mp4", {"--duration", "0.2s"}),
       0,
       "; duration over",
       {{.file = "out/big.mp4", .at_least = 6}}},
      {"AnMkvThatBreaksOffPlayedAgainAndAgain",
       PlayAnd("BROKEN.mkv", {"--loop", "--duration", "4s"}),
       16,
       damage,
       {{.file = "out/big.mp4", .at_least = 60, .step = 0}}},
      {"CtrlCInADamagedMp4",
       PlayAnd("DAMAGED.mp4", {"--loop"}),
       16,
       damage,
       {{.file = "out/big.mp4", .at_least = 60, .step = 0}},
       {},
       {},
       [](EndingRun& run) {
         run.WaitForBytes("out/big.mp4", 2'000'000);
         run.process().Signal(SIGINT);
       }},
  };
}

// A clip comes through a pipe, half of it.
std::string BeginToSend(EndingRun& run) {
  std::ifstream file(run.Path("CLIP.y4m"), std::ios::binary);
  const std::string clip{std::istreambuf_iterator<char>(file), {}};
  const int pipe = run.OpenSourcePipe();
  EXPECT_GT(write(pipe, clip.data(), clip.size() / 2), 0);
  return clip.substr(clip.size() / 2);
}

// A duration of the clock does not wait for a source that gives nothing from the start.
std::vector<Ending> SilentForTheDuration() {
  const std::vector<std::string> words{"run",   "--camera", "file:DIR/pipe", "--realtime",
                                       "--out", "out",      "--duration",    "0.5s"};
  const std::string says = "nothing came from file:DIR/pipe within --duration";
  const auto prepare = [](EndingRun& run) {
    run.MakeSourcePipe();
    return std::string();
  };
  return {
      {"APipeThatNobodyWritesIntoWithinTheDuration", words, 30, says, {}, prepare},
      {"APipeWhoseWriterIsSilentForTheDuration",
       words,
       30,
       says,
       {},
       prepare,
       {},
       [](EndingRun& run) { static_cast<void>(run.OpenSourcePipe()); }},
      {"APipeWithAHeaderAloneForTheDuration",
       words,
       30,
       says,
       {},
       prepare,
       {},
       [](EndingRun& run) {
         const std::string header = "YUV4MPEG2 W64 H64 F30:1 Ip A1:1 C420jpeg\n";
         EXPECT_EQ(write(run.OpenSourcePipe(), header.data(), header.size()),
                   static_cast<ssize_t>(header.size()));
       }},
  };
}

std::vector<Ending> Stalled() {
  const std::string says = "note: the source gives nothing; waiting for it";
  const std::vector<std::string> words{"run", "--camera", "file:DIR/pipe", "--out", "out"};
  const auto prepare = [](EndingRun& run) {
    run.MakeSourcePipe();
    static_cast<void>(run.Filled("DIR/CLIP.y4m"));
    return std::string();
  };
  return {
      {"ASourceThatStallsForFiveSeconds",
       words,
       0,
       says,
       {{.file = "out/big.mp4", .at_least = 60}},
       prepare,
       {},
       [says](EndingRun& run) {
         const std::string rest = BeginToSend(run);
         const auto stalled = std::chrono::steady_clock::now();
         run.WaitForText(says);
         std::this_thread::sleep_until(stalled + std::chrono::milliseconds(5100));
         EXPECT_EQ(write(run.source_pipe(), rest.data(), rest.size()),
                   static_cast<ssize_t>(rest.size()));
         run.CloseSourcePipe();
       }},
      {"APipeThatNobodyWritesIntoYet",
       words,
       0,
       says,
       {{.file = "out/big.mp4", .at_least = 60}},
       prepare,
       {},
       [says](EndingRun& run) {
         run.WaitForText(says);
         const std::string rest = BeginToSend(run);
         EXPECT_EQ(write(run.source_pipe(), rest.data(), rest.size()),
                   static_cast<ssize_t>(rest.size()));
         run.CloseSourcePipe();
       }},
      {"AWriterThatGoesInTheMiddleOfAPicture",
       words,
       16,
       "DIR/pipe' breaks off after",
       {{.file = "out/big.mp4", .at_least = 25}},
       prepare,
       {},
       [](EndingRun& run) {
         static_cast<void>(BeginToSend(run));
         run.CloseSourcePipe();
       }},
      {"CtrlCWhileTheSourceStalls",
       words,
       0,
       "; interrupted",
       {{.file = "out/big.mp4", .at_least = 20}},
       prepare,
       {},
       [says](EndingRun& run) {
         static_cast<void>(BeginToSend(run));
         run.WaitForText(says);
         run.process().Signal(SIGINT);
       }},
      {"CtrlCBeforeTheSourceHasAWriter",
       words,
       0,
       "nothing was written: interrupted",
       {{.file = "out/big.mp4", .at_least = 0}},
       prepare,
       {},
       [](EndingRun& run) {
         EXPECT_TRUE(WaitUntil([&] { return run.process().HoldsBack(SIGINT); }));
         run.process().Signal(SIGINT);
       }},
  };
}

}  // namespace

std::vector<Ending> EndingsOfSources() {
  std::vector<Ending> rows = Refused();
  for (auto more : {&Damaged, &DamagedAndEndedEarly, &SilentForTheDuration, &Stalled}) {
    for (Ending& row : more()) rows.push_back(std::move(row));
  }
  return rows;
}

}  // namespace movra::app
