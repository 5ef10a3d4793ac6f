// What a run did, for the table, the figures and the exit code.

#ifndef MOVRA_APP_RUN_REPORT_H_
#define MOVRA_APP_RUN_REPORT_H_

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "app/result.h"
#include "app/stream_meter.h"
#include "app/stream_plan.h"
#include "media/figures/frame_account.h"
#include "media/output/sink_figures.h"
#include "video/camera_service.h"

namespace movra::app {

enum class Ending {
  kSourceEnded,
  kDurationOver,
  kInterrupted,   // Ctrl-C or SIGTERM.
  kReaderClosed,  // Whoever read a stream closed the pipe.
  kFailed,
};

[[nodiscard]] const char* EndingText(Ending ending);  // "source ended"

// One place that a stream went to.
struct SinkReport {
  StreamTarget target;  // As the plan of the files settled it.
  media::SinkFigures figures;
  bool broken_off = false;

  // How many of the frames that were meant for it, it does not hold.
  [[nodiscard]] std::uint64_t frames_lost() const {
    return figures.handed - std::min(figures.handed, figures.written.frames);
  }
};

struct StreamReport {
  StreamPlan plan;
  StreamTarget target;            // As the plan of the files settled it; of several the first.
  StreamFigures figures;          // Those of what was written are the first target's.
  media::FrameTotals frames;      // What became of every frame that came from the source.
  std::vector<SinkReport> sinks;  // The target's first, then the further ones.

  // How many of them came to this end; `kEncoded` and the others together are all that came. What
  // was on its way when all had been stopped was stopped too, but for what a slow output was being
  // handed.
  [[nodiscard]] std::uint64_t frames_that(media::FrameFate fate) const;

  // What was encoded and is not among the frames written: more than was to be, or lost on the way
  // into the output and in it.
  [[nodiscard]] std::uint64_t frames_beyond_duration() const;
  [[nodiscard]] std::uint64_t frames_not_written() const;
};

struct RunReport {
  std::string source_id;
  video::CameraInfo source;
  Ending ending = Ending::kSourceEnded;
  std::optional<Failure> failure;
  std::chrono::nanoseconds wall_time{0};            // From the start of the capture to its end.
  std::chrono::nanoseconds time_to_first_frame{0};  // Of the run, until one was encoded.
  std::uint64_t frames_captured = 0;
  std::uint32_t frames_processed = 0;
  std::uint64_t damaged_frames = 0;
  bool paced = false;  // The source goes by the clock.
  std::vector<StreamReport> streams;
  std::string contact_sheet;  // Empty if none was made.
  std::string stats;          // The file of the figures; empty if there is none.

  [[nodiscard]] ExitCode exit_code() const { return failure ? failure->code : ExitCode::kSuccess; }

  // Of the longest stream.
  [[nodiscard]] std::chrono::nanoseconds media_time() const;
  // No place of any stream has a frame.
  [[nodiscard]] bool wrote_nothing() const;
  // Media time in a second of wall time; 0 if none has passed.
  [[nodiscard]] double speed() const;
};

// The frames of a count that are missing in what is encoded, though they were wanted there.
[[nodiscard]] std::uint64_t LostFrames(const media::FrameCounts& counts);

// The table at the end: a line per stream, then what else there is to know. Ends in a line end.
[[nodiscard]] std::string SummaryText(const RunReport& report);

// The figures as one JSON object; every name says its unit. Ends in a line end.
[[nodiscard]] std::string StatsJson(const RunReport& report);

}  // namespace movra::app

#endif  // MOVRA_APP_RUN_REPORT_H_
