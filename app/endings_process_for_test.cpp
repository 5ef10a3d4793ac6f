// What happens to a process: signals, readers that go away, descriptors that are not there, and
// little of everything.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdint>
#include <fstream>
#include <random>

#include "app/ending_for_test.h"

namespace movra::app {
namespace {

using Words = std::vector<std::string>;
using Meanwhile = std::function<void(EndingRun&)>;

constexpr char kFinite[] = "test:?lossless&size=640x360&frames=60";
constexpr char kEndless[] = "test:?lossless&size=640x360";

Words Run(const char* camera, const Words& more = {}) {
  Words words{"run", "--camera", camera, "--out", "out"};
  words.insert(words.end(), more.begin(), more.end());
  return words;
}

LeftBehind Big(std::size_t at_least) { return {.file = "out/big.mp4", .at_least = at_least}; }

LeftBehind Small(std::size_t at_least) {
  return {.file = "out/small.mp4", .at_least = at_least, .step = 2};
}

Meanwhile SignalAfter(const std::string& file, std::uintmax_t bytes, int number) {
  return [=](EndingRun& run) {
    run.WaitForBytes(file, bytes);
    run.process().Signal(number);
  };
}

Meanwhile SignalWhenThere(const std::string& file) {
  return [=](EndingRun& run) {
    run.WaitForFile(file);
    run.process().Signal(SIGINT);
  };
}

Meanwhile SignalWhenItSays(const std::string& text) {
  return [=](EndingRun& run) {
    run.WaitForText(text);
    run.process().Signal(SIGINT);
  };
}

std::vector<Ending> Interrupted() {
  const std::vector<LeftBehind> both{Big(15), Small(7)};
  const auto at = [](int number) { return SignalAfter("out/small.mp4", 6000, number); };
  return {
      {"CtrlC", Run(kEndless), 0, "; interrupted", both, {}, {}, at(SIGINT)},
      {"SigTerm", Run(kEndless), 0, "; interrupted", both, {}, {}, at(SIGTERM)},
      {"TheTerminalIsClosed", Run(kEndless), 0, "; interrupted", both, {}, {}, at(SIGHUP)},
      {"TheTerminalOfANohupIsClosed",
       Run(kEndless),
       0,
       "; interrupted",
       both,
       {},
       [] { signal(SIGHUP, SIG_IGN); },
       [](EndingRun& run) {
         run.WaitForBytes("out/small.mp4", 6000);
         run.process().Signal(SIGHUP);
         run.WaitForBytes("out/small.mp4", 20'000);
         run.process().Signal(SIGINT);
       }},
  };
}

// In the first 50 ms, by what the program has come to.
std::vector<Ending> InterruptedAtTheBeginning() {
  return {
      {"CtrlCAsSoonAsItMinds",
       Run(kEndless),
       0,
       "interrupted",
       {Big(0), Small(0)},
       {},
       {},
       [](EndingRun& run) {
         EXPECT_TRUE(WaitUntil([&] { return run.process().HoldsBack(SIGINT); }));
         run.process().Signal(SIGINT);
       }},
      {"CtrlCWhenItsDirectoryIsThere",
       Run(kEndless),
       0,
       "interrupted",
       {Big(0), Small(0)},
       {},
       {},
       SignalWhenThere("out")},
      {"CtrlCWhenItsFileIsThere",
       Run(kEndless),
       0,
       "interrupted",
       {Big(0), Small(0)},
       {},
       {},
       SignalWhenThere("out/big.mp4")},
      {"CtrlCAtTheFirstByte",
       Run(kEndless),
       0,
       "interrupted",
       {Big(1), Small(1)},
       {},
       {},
       SignalAfter("out/big.mp4", 1, SIGINT)},
  };
}

// In the last 50 ms, likewise.
std::vector<Ending> InterruptedAtTheEnd() {
  return {
      {"CtrlCAtTheLastBytes",
       Run(kFinite),
       0,
       " frames in, none lost",
       {Big(45), Small(20)},
       {},
       {},
       SignalAfter("out/big.mp4", 100'000, SIGINT)},
      {"CtrlCWhileItDrawsTheContactSheet",
       Run(kFinite),
       0,
       "; source ended",
       {Big(60), Small(30)},
       {},
       {},
       SignalWhenThere("out/contact-sheet.png")},
      {"CtrlCWhenItHasSaidHowItWent",
       Run(kFinite),
       0,
       "; source ended",
       {Big(60), Small(30)},
       {},
       {},
       SignalWhenItSays("source ended")},
  };
}

// Each at a moment of its own, by the bytes that are on the disk: twice as many as the pictures
// take that must be there, because the fragment that is torn is theirs to lose.
std::vector<Ending> Killed() {
  constexpr int kTimes = 10;
  constexpr std::uintmax_t kBytes = 60'000;
  std::vector<Ending> rows;
  rows.reserve(kTimes);
  for (int i = 0; i < kTimes; ++i) {
    rows.push_back({"KilledAtARandomMoment" + std::to_string(i),
                    Run(kEndless),
                    -SIGKILL,
                    "",
                    {Big(15), Small(0)},
                    {},
                    {},
                    [](EndingRun& run) {
                      std::random_device random;
                      const std::uintmax_t bytes = kBytes + random() % 400'000;
                      run.note = "killed behind byte " + std::to_string(bytes);
                      SignalAfter("out/big.mp4", bytes, SIGKILL)(run);
                    }});
  }
  rows.push_back({"KilledWithMkv",
                  Run(kEndless, {"--big", "a.mkv", "--small", "off"}),
                  -SIGKILL,
                  "",
                  {{.file = "out/a.mkv", .at_least = 15}},
                  {},
                  {},
                  SignalAfter("out/a.mkv", kBytes, SIGKILL)});
  rows.push_back({"KilledWithTs",
                  Run(kEndless, {"--big", "a.ts", "--small", "off"}),
                  -SIGKILL,
                  "",
                  {{.file = "out/a.ts", .at_least = 15}},
                  {},
                  {},
                  SignalAfter("out/a.ts", kBytes, SIGKILL)});
  return rows;
}

std::string ReadItsOutput(EndingRun& run) {
  EXPECT_GE(run.OpenPipe(), 0);
  return "";
}

// They read some bytes of the program's standard output, then close it.
std::vector<Ending> ReadersThatGo() {
  const auto row = [&](const std::string& name, const std::string& spec) {
    return Ending{name,
                  Run(kEndless, {"--big", spec}),
                  0,
                  "; reader closed the pipe",
                  {Small(0)},
                  &ReadItsOutput,
                  {},
                  [](EndingRun& run) {
                    std::string bytes(50'000, '\0');
                    EXPECT_GT(read(run.pipe(), bytes.data(), bytes.size()), 0);
                    run.ClosePipe();
                  }};
  };
  return {
      row("AReaderThatClosesThePipe", "-"),
      row("AReaderThatClosesAPipeOfMp4", "-.mp4"),
      row("AReaderThatClosesAPipeOfMkv", "-.mkv"),
      {"AReaderThatIsGoneAlready",
       Run(kEndless, {"--big", "-"}),
       0,
       "; reader closed the pipe",
       {Small(0)},
       [](EndingRun& run) {
         ReadItsOutput(run);
         run.ClosePipe();
         return std::string();
       }},
  };
}

std::vector<Ending> ReadersThatTakeNothing() {
  return {
      {"CtrlCWhileAReaderTakesNothing",
       Run(kEndless, {"--big", "640x360,20M,-"}),
       0,
       "note: --big: broke off writing standard output: its reader takes nothing",
       {Small(1)},
       &ReadItsOutput,
       {},
       [](EndingRun& run) {
         run.WaitForFullPipe();
         run.process().Signal(SIGINT);
       }},
      {"AReaderThatTakesNothingUntilTheDurationIsOver",
       Run("test:?size=640x360", {"--big", "640x360,20M,-", "--duration", "1s"}),
       22,
       "movra-producer: --big: ",
       {Small(10)},
       &ReadItsOutput,
       {},
       [](EndingRun& run) { run.WaitForFullPipe(); }},
      {"AReaderThatTakesNothingIsNamed",
       Run(kEndless, {"--big", "640x360,20M,-"}),
       0,
       "note: the reader of --big takes nothing; waiting for it",
       {Small(1)},
       &ReadItsOutput,
       {},
       SignalWhenItSays("takes nothing")},
      {"ASecondCtrlCWhateverItWaitsFor",
       Run(kEndless, {"--big", "640x360,20M,-"}),
       130,
       "",
       {Small(0)},
       &ReadItsOutput,
       {},
       [](EndingRun& run) {
         run.WaitForFullPipe();
         run.process().Signal(SIGINT);
         // Taken when it is no longer pending; only then the second is one of its own.
         EXPECT_TRUE(WaitUntil([&] { return !run.process().HasPending(SIGINT); }));
         run.process().Signal(SIGINT);
       }},
  };
}

void UseFull(int descriptor) { dup2(open("/dev/full", O_WRONLY), descriptor); }

std::vector<Ending> Descriptors() {
  const auto full_output = [] { UseFull(STDOUT_FILENO); };
  const auto no_output = [] { close(STDOUT_FILENO); };
  const std::vector<LeftBehind> all{Big(60), Small(30)};
  const std::string refused = "standard output could not be written";
  return {
      {"HelpIntoAFullDevice", {"run", "--help"}, 22, refused, {}, {}, full_output},
      {"HelpWithoutStandardOutput", {"--help"}, 22, refused, {}, {}, no_output},
      {"DevicesIntoAFullDevice", {"devices"}, 22, refused, {}, {}, full_output},
      {"DevicesWithoutStandardOutput", {"devices", "--json"}, 22, refused, {}, {}, no_output},
      {"StatsIntoAFullDevice",
       Run(kFinite, {"--stats", "-"}),
       22,
       "--stats: " + refused,
       all,
       {},
       full_output},
      {"StatsWithoutStandardOutput",
       Run(kFinite, {"--stats", "-"}),
       22,
       "--stats: " + refused,
       all,
       {},
       no_output},
      {"AStreamIntoAFullDevice",
       Run(kFinite, {"--big", "-", "--quiet"}),
       22,
       "--big: cannot write standard output: No space left on device",
       {Small(0)},
       {},
       full_output},
      {"AStreamWithoutStandardOutput",
       Run(kFinite, {"--big", "-", "--quiet"}),
       22,
       "--big: cannot write standard output: Bad file descriptor",
       {Small(0)},
       {},
       no_output},
      {"NoStandardOutputAndNothingForIt",
       Run(kFinite),
       0,
       "60 frames in, none lost",
       all,
       {},
       no_output},
      {"NoStandardDescriptorAtAll",
       Run(kFinite),
       0,
       "",
       all,
       {},
       [] {
         for (const int descriptor : {0, 1, 2}) close(descriptor);
       }},
      {"NobodyCanReadItsMessages", Run(kFinite), 0, "", all, {}, [] { UseFull(STDERR_FILENO); }},
      {"NoTerminal", Run(kFinite), 0, "60 frames in, none lost", all, {}, [] { setsid(); }},
  };
}

void Limit(int resource, rlim_t most) {
  const rlimit limit{most, most};
  setrlimit(static_cast<__rlimit_resource>(resource), &limit);
}

std::vector<Ending> LittleOfEverything() {
  constexpr rlim_t kMegabyte = 1 << 20;
  const std::vector<LeftBehind> all{Big(60), Small(30)};
  return {
      {"TwoGigabytesOfMemory",
       Run("test:?lossless&size=1920x1080&frames=15", {"--big", "1920x1080"}),
       0,
       "15 frames in, none lost",
       {Big(15), Small(8)},
       [](EndingRun&) { return WhyLimitsAreTooNarrow(); },
       [] { Limit(RLIMIT_AS, 2048 * kMegabyte); }},
      {"SixtyFourFileDescriptors",
       Run(kFinite),
       0,
       "60 frames in, none lost",
       all,
       {},
       [] { Limit(RLIMIT_NOFILE, 64); }},
      {"TooFewFileDescriptors",
       Run(kFinite),
       21,
       "Too many open files",
       {},
       [](EndingRun&) { return WhyLimitsAreTooNarrow(); },
       [] { Limit(RLIMIT_NOFILE, 7); }},
      {"HardlyAnyFileDescriptor",
       Run(kFinite),
       21,
       "Too many open files",
       {},
       [](EndingRun&) { return WhyLimitsAreTooNarrow(); },
       [] { Limit(RLIMIT_NOFILE, 4); }},
      {"TooLittleMemoryForAPicture",
       Run("test:?lossless&frames=9", {"--size", "8192x8192", "--big", "320x180"}),
       33,
       "there is not enough memory",
       {Big(0), Small(0)},
       [](EndingRun&) { return WhyLimitsAreTooNarrow(); },
       [] { Limit(RLIMIT_DATA, 140 * kMegabyte); }},
      {"TooLittleMemoryForTheEncoder",
       Run(kFinite, {"--big", "8192x8192", "--small", "off", "--log-level", "off"}),
       31,
       "the encoder of the big stream failed: libx264 cannot be opened",
       {Big(0)},
       [](EndingRun&) { return WhyLimitsAreTooNarrow(); },
       [] { Limit(RLIMIT_DATA, 500 * kMegabyte); }},
      {"NoTimeForAFrame", Run(kFinite, {"--duration", "0.001ms", "--quiet"}), 30,
       "stream received no frame"},
  };
}

}  // namespace

std::vector<Ending> EndingsOfProcesses() {
  std::vector<Ending> rows = Interrupted();
  for (auto more : {&InterruptedAtTheBeginning, &InterruptedAtTheEnd, &Killed, &ReadersThatGo,
                    &ReadersThatTakeNothing, &Descriptors, &LittleOfEverything}) {
    for (Ending& row : more()) rows.push_back(std::move(row));
  }
  return rows;
}

}  // namespace movra::app
