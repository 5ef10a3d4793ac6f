// The words of `--help` and `--version`.

#ifndef MOVRA_APP_CLI_TEXT_H_
#define MOVRA_APP_CLI_TEXT_H_

#include <string>

namespace movra::app {

inline constexpr char kProgramDescription[] =
    "Turns a video or a camera into a big and a small encoded stream.";

inline constexpr char kProgramFooter[] =
    "Examples:\n"
    "  movra-producer run talk.mp4\n"
    "  movra-producer devices\n"
    "  movra-producer run --help        all options, more examples, exit codes\n";

inline constexpr char kRunDescription[] = "Encode a video or a camera into two streams";
inline constexpr char kDevicesDescription[] = "List the cameras that --source takes";
inline constexpr char kDevicesJsonText[] = "As a JSON array, for programs";

inline constexpr char kSourceGroup[] = "Source";
inline constexpr char kStreamGroup[] = "Streams";
inline constexpr char kReportGroup[] = "Reports";

inline constexpr char kPlaceText[] =
    "The video to encode; - is standard input. Any ID may\n"
    "stand here too";
inline constexpr char kStartText[] = "Play a file from then on: 10s, 1m30s, 1.5s, 500ms ...";
inline constexpr char kModeText[] =
    "How the size asked of the camera follows from the big\n"
    "stream's: 0, 2 limited to 1920x1080, 1 as it is,\n"
    "3 by --size, or its own (default: 0; 3 for a file if\n"
    "the small stream is more than half as large as the big)";
inline constexpr char kSizeText[] = "Size asked of the camera; means --mode 3";
inline constexpr char kFrameRateText[] =
    "Highest rate taken from the source, frames per second,\n"
    "as in 30 or 29.97 (default: what the faster stream\n"
    "needs)";
inline constexpr char kOnceText[] = "Play a file once (default)";
inline constexpr char kLoopText[] = "Play a file again and again";
inline constexpr char kRealtimeText[] =
    "Play a file at its own pace; what comes too late is\n"
    "dropped, as from a camera";
inline constexpr char kFastText[] =
    "Play a file as fast as it can be encoded, without\n"
    "losing a frame (default)";
inline constexpr char kDurationText[] =
    "Stop after 10s, 1m30s, 1.5s, 500ms ...: time of the\n"
    "video with --fast, of the clock otherwise";
inline constexpr char kScriptText[] =
    "A timeline: lines of JSON that call operations of the\n"
    "producer, as in {\"at\": \"2s\", \"do\": \"pause_capture\"};\n"
    "\"with\" holds an operation's arguments, and docs/operations.md\n"
    "lists them. Another source goes on in the same files";
inline constexpr char kBigText[] =
    "The big stream (default: the source's shape within\n"
    "1280x720 or 720x1280, up to 30 frames per second)";
inline constexpr char kSmallText[] =
    "The small stream (default: a quarter of the big one's\n"
    "width and height, exactly half its rate)";
inline constexpr char kAlsoText[] =
    "A further place for a stream, as in big=talk.ts; any\n"
    "number of times. None of several holds up another";
inline constexpr char kOutText[] =
    "Directory for the files (default: a new one below\n"
    "movra-out/, to which movra-out/latest then points)";
inline constexpr char kThreadsText[] =
    "Threads of each encoder; 0 is as many as libx264 likes\n"
    "(default: 1)";
inline constexpr char kNoContactSheetText[] = "No contact-sheet.png at the end";
inline constexpr char kForceText[] = "Replace files that are there already";
inline constexpr char kQuietText[] = "No progress, no table, no notes: errors alone";
inline constexpr char kStatsText[] =
    "Write the run's figures as one JSON object, at the end;\n"
    "like a SPEC's FILE it lands in DIR, or stands for itself\n"
    "if it begins with a slash";
inline constexpr char kEventsText[] =
    "Write the producer's events and the script's answers as\n"
    "they come, one JSON object a line; lands where --stats does";
inline constexpr char kLogLevelText[] = "off, error (default), warning or info";
inline constexpr char kLogFilterText[] = "Leave out log lines whose numbers have not changed";

// What --source takes: the kinds of source, from their table.
[[nodiscard]] std::string SourceText();

// SPEC, examples and exit codes.
[[nodiscard]] std::string RunFooter();

// The version and what it was built with, ending in a line end.
[[nodiscard]] std::string VersionText();

}  // namespace movra::app

#endif  // MOVRA_APP_CLI_TEXT_H_
