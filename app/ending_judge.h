// What the end of a run means: figures in, failure out. Nothing here has a state or asks anybody.

#ifndef MOVRA_APP_ENDING_JUDGE_H_
#define MOVRA_APP_ENDING_JUDGE_H_

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "app/result.h"
#include "app/run_report.h"
#include "media/output/write_error.h"
#include "video/video_frame_track.h"

namespace movra::app {

// One place that a stream went to.
struct SinkEnding {
  std::string option;  // "--big"
  std::string name;    // "'out/big.mp4'"
  bool failed = false;
  bool told = false;  // Why, when it happened.
};

// What is known of a run that is over.
struct RunEnding {
  std::string source_id;
  std::optional<Ending> ending;
  video::StreamEnd source_end;  // Of a source that did not end well.
  std::uint64_t damaged_frames = 0;
  std::uint64_t frames_captured = 0;
  std::vector<StreamReport> streams;
  std::vector<SinkEnding> sinks;  // Of all streams.
};

// Why a run in which nothing was told did not end well; nothing if it did.
[[nodiscard]] std::optional<Failure> JudgeEnding(const RunEnding& run);

// What follows from a sink that broke off.
struct BreakOff {
  std::optional<Failure> failure;
  std::optional<Ending> ending;  // That it brings about.
  std::string note;              // For people who are to hear notes.

  friend bool operator==(const BreakOff&, const BreakOff&) = default;
};

// `ending` is the one that has come already; `others_go_on` whether the stream has sinks that did
// not break off.
[[nodiscard]] BreakOff JudgeBreakOff(const std::string& option, const media::WriteError& error,
                                     std::optional<Ending> ending, bool others_go_on);

// Where the last picture of a stream stands until, if it is the duration that cuts the stream off.
[[nodiscard]] std::optional<std::chrono::nanoseconds> EndOfLastPicture(
    std::optional<Ending> ending, const StreamFigures& figures,
    std::optional<std::chrono::nanoseconds> duration);

}  // namespace movra::app

#endif  // MOVRA_APP_ENDING_JUDGE_H_
