// What a person types wrongly: nothing is touched, and one line says what would be right.

#include "app/ending_for_test.h"

namespace movra::app {

namespace {

std::vector<Ending> NotUnderstood() {
  const std::string clip = "file:DIR/CLIP.mp4";
  return {
      {"NoCommand", {}, 2, "a command is missing; use run or devices"},
      {"UnknownCommand", {"play"}, 2, "unknown command 'play'"},
      {"UnknownOption", {"run", "--frobnicate"}, 2, "unknown option '--frobnicate'"},
      {"UnknownOptionOfDevices", {"devices", "--xml"}, 2, "unknown option '--xml'"},
      {"StrayWord", {"run", "talk.mp4", "again.mp4"}, 2, "unexpected 'again.mp4'; a run has one"},
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
      {"MalformedRate", {"run", "--fps", "29,97"}, 4, "--fps: '29,97' is not a rate"},
      {"UnknownMode", {"run", "--mode", "7"}, 4, "--mode: '7' is not a mode; use 0 to 3"},
      {"UnknownLevel", {"run", "--log-level", "loud"}, 4, "use off, error, warning or info"},
      {"EmptyDirectoryName", {"run", "--out", ""}, 4, "--out: the name is empty"},
  };
}

std::vector<Ending> OutOfRange() {
  return {
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
  };
}

std::vector<Ending> InEachOthersWay() {
  const std::string clip = "file:DIR/CLIP.mp4";
  return {
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
  };
}

}  // namespace

std::vector<Ending> EndingsOfWhatWasTyped() {
  std::vector<Ending> rows = NotUnderstood();
  for (auto more : {&OutOfRange, &InEachOthersWay}) {
    for (Ending& row : more()) rows.push_back(std::move(row));
  }
  return rows;
}

}  // namespace movra::app
