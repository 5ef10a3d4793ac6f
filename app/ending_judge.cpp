#include "app/ending_judge.h"

#include <algorithm>

#include "app/source_failure.h"

namespace movra::app {
namespace {

bool IsEmpty(const StreamReport& stream) { return !stream.figures.first_frame; }

std::optional<Failure> FindIncomplete(const std::vector<SinkEnding>& sinks) {
  const auto found = std::find_if(sinks.begin(), sinks.end(),
                                  [](const SinkEnding& sink) { return sink.failed && !sink.told; });
  if (found == sinks.end()) return std::nullopt;
  return Failure{ExitCode::kWriteFailed, found->option + ": " + found->name + " is not complete"};
}

std::optional<Failure> FindStreamWithoutFrames(const RunEnding& run) {
  const auto empty = std::find_if(run.streams.begin(), run.streams.end(), IsEmpty);
  const bool was_cut_short =
      run.ending == Ending::kInterrupted || run.ending == Ending::kReaderClosed;
  if (empty == run.streams.end() || was_cut_short) return std::nullopt;
  return Failure{ExitCode::kNoFrames,
                 "the " + std::string(StreamName(empty->plan.type)) +
                     " stream received no frame (" + std::to_string(run.frames_captured) +
                     " came from the source); give it more time, or another source"};
}

}  // namespace

std::optional<Failure> JudgeEnding(const RunEnding& run) {
  if (auto incomplete = FindIncomplete(run.sinks)) return incomplete;
  const video::StreamEnd& end = run.source_end;
  if (end.error_code != 0 && std::all_of(run.streams.begin(), run.streams.end(), IsEmpty)) {
    return SourceStartFailure(run.source_id, end.error_code, end.reason);
  }
  auto damage = SourceDamageFailure(run.source_id, end.error_code, end.reason, run.damaged_frames);
  return damage ? damage : FindStreamWithoutFrames(run);
}

BreakOff JudgeBreakOff(const std::string& option, const media::WriteError& error,
                       std::optional<Ending> ending, bool others_go_on) {
  using Kind = media::WriteErrorKind;
  const std::string text = option + ": " + error.text;
  const bool is_closed = error.code == Kind::kClosedPipe;
  BreakOff result;
  if (error.code == Kind::kInterrupted && ending == Ending::kInterrupted) {
    result.note = text;
    return result;
  }
  if (!is_closed) result.failure = Failure{ExitCode::kWriteFailed, text};
  if (others_go_on) {
    result.note = text + "; the other outputs of the stream go on";
  } else {
    result.ending = is_closed ? Ending::kReaderClosed : Ending::kFailed;
  }
  return result;
}

std::optional<std::chrono::nanoseconds> EndOfLastPicture(
    std::optional<Ending> ending, const StreamFigures& figures,
    std::optional<std::chrono::nanoseconds> duration) {
  const bool is_cut_off = ending == Ending::kDurationOver || figures.packets_beyond_limit > 0;
  return is_cut_off ? duration : std::nullopt;
}

}  // namespace movra::app
