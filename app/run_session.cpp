#include "app/run_session.h"

#include <algorithm>
#include <utility>

#include "app/ending_judge.h"
#include "base/once_callback.h"
#include "logging/log_identity.h"
#include "video/producer/video_producer2_impl.h"
#include "video/to_string.h"
#include "video/video_context.h"

namespace movra::app {
namespace {

using movra_base::BindOnce;
using std::chrono::nanoseconds;
using std::chrono::steady_clock;
using video::VideoStreamType;

constexpr InstanceTrace kTrace(1);
constexpr nanoseconds kProgressInterval = std::chrono::milliseconds(100);
constexpr nanoseconds kStallInterval = std::chrono::milliseconds(500);
// How long the end waits for what is under way to be encoded and written, for all streams together.
constexpr std::chrono::milliseconds kLongestDrain{5000};
// How long the streams have to come to the end that their last source told.
constexpr nanoseconds kLongestTail = std::chrono::seconds(30);
// What the reader of a pipe has of that once a person wants the end.
constexpr std::chrono::milliseconds kInterruptPatience{1000};

// Media time of the whole run, if it is known.
std::optional<nanoseconds> TotalTime(const RunOptions& options, const video::CameraInfo& source) {
  const bool has_end = source.duration.count() > 0 && source.traits.has_end;
  if (!has_end) return options.duration;
  return options.duration ? std::min(*options.duration, source.duration) : source.duration;
}

// Wraps an operation into a function for any thread, which posts it to the main queue; it does
// nothing once the session is gone.
template <class... Args>
auto PostTo(const std::shared_ptr<core::DispatchQueue>& queue, std::weak_ptr<RunSession> session,
            void (RunSession::*operation)(Args...)) {
  return [queue, session = std::move(session), operation](Args... args) {
    queue->Post(BindOnce(operation, session, std::move(args)...));
  };
}

}  // namespace

RunSession::RunSession(const RunSetting& setting)
    : setting_(setting),
      account_(media::FrameAccount::Of(kTrace)),
      streams_(setting.options, setting.plan.streams, setting.files),
      progress_(TotalTime(setting.options, setting.source)) {
  report_.source_id = setting.options.source;
  report_.source = setting.source;
  // Then the clock, and not the frames, says when the duration is over.
  report_.paced = setting.source.traits.keeps_time;
}

void RunSession::Begin() {
  if (ending_) return;  // Interrupted before it began.
  if (!OpenStreams()) return;
  MakeScript();
  producer_ = std::make_shared<video::VideoProducer2Impl>(video::VideoContext(kTrace, ""),
                                                          script_->client(), VideoStreamType::kBig);
  producer_->Initialize();
  streams_.Start(*producer_);
  StartSource();
  script_->Start(producer_);
  if (setting_.options.quiet) return;
  stall_watch_.emplace(source_->started_at());
  ShowProgress();
  LookForStall();
}

bool RunSession::OpenStreams() {
  const auto posting = [&](auto operation) {
    return PostTo(setting_.queue, weak_from_this(), operation);
  };
  StreamSet::Events events;
  events.on_first_frame = posting(&RunSession::OnFirstFrame);
  events.on_limit = posting(&RunSession::OnStreamLimit);
  events.on_end = posting(&RunSession::OnStreamEnd);
  events.on_error = posting(&RunSession::OnWriteError);
  const auto clock = report_.paced ? media::SourceClock::kOwn : media::SourceClock::kWaits;
  auto failure = streams_.Open(events, clock);
  if (failure) Fail(std::move(*failure));
  return !failure;
}

void RunSession::MakeScript() {
  ScriptRun::Events events;
  events.on_encoder_error = [this](VideoStreamType type, video::VideoEncoderError error,
                                   const std::string& detail) {
    OnEncoderError(type, error, detail);
  };
  events.on_screen_started = [this] { source_->OnScreenStarted(); };
  events.on_screen_error = [this](video::VideoScreenSharingError error) {
    source_->OnScreenError(error);
  };
  events.on_screen_stopped = [this](video::VideoScreenSharingStoppedReason reason) {
    source_->OnScreenStopped(reason);
  };
  events.on_next_source = [this] {
    is_source_lost_ = false;
    streams_.GoOn();
  };
  events.on_source_end = [this](const video::CaptureEnd& end) { OnNextSourceEnd(end); };
  events.on_over = [this](bool is_idle) { OnScriptOver(is_idle); };
  events.on_failure = [this](const Failure& failure) { Fail(failure); };
  script_ = std::make_shared<ScriptRun>(
      ScriptRun::Setting{setting_.script, setting_.events, setting_.queue, setting_.now},
      std::move(events));
}

void RunSession::StartSource() {
  SourceStarter::Setting setting{setting_.options.source, setting_.plan, std::nullopt,
                                 setting_.queue, setting_.now};
  if (report_.paced) setting.duration = setting_.options.duration;
  SourceStarter::Events events;
  events.on_failure = [this](const Failure& failure) { Fail(failure); };
  events.on_lost = [this](const video::StreamEnd& end) { OnSourceLost(end); };
  events.on_duration_over = [this] { Finish(Ending::kDurationOver); };
  source_ = std::make_shared<SourceStarter>(std::move(setting), std::move(events));
  source_->Start(*producer_);
}

void RunSession::OnFirstFrame() {
  source_->NoteFirstFrame();
  if (setting_.files.directory) setting_.files.directory->PointLatestHere();
}

void RunSession::OnStreamLimit(std::size_t stream) {
  if (streams_.NoteLimit(stream)) Finish(Ending::kDurationOver);
}

void RunSession::NoteSourceEnd(const video::StreamEnd& end) {
  // Each stream tells of the same source.
  report_.damaged_frames = std::max(report_.damaged_frames, end.damaged_frames);
  if (end.error_code != 0) source_end_ = end;
}

void RunSession::OnSourceLost(const video::StreamEnd& end) {
  NoteSourceEnd(end);
  // It is silent and ends no stream, so nothing else would end the run.
  is_source_lost_ = true;
  if (!script_->goes_on()) Finish(Ending::kSourceEnded);
}

void RunSession::OnNextSourceEnd(const video::CaptureEnd& end) {
  if (end.kind == video::CaptureEndKind::kLost) {
    OnSourceLost(
        {.error_code = end.error_code, .reason = end.text, .damaged_frames = end.damaged_frames});
  } else {
    // Its end mark is behind this. An end that the streams came to before was that of the source in
    // front of it.
    streams_.GoOn();
    setting_.queue->PostDelayed(BindOnce(&RunSession::EndInAnyCase, weak_from_this()),
                                kLongestTail);
  }
}

void RunSession::OnScriptOver(bool is_idle) {
  if (is_idle || is_source_lost_) return Finish(Ending::kSourceEnded);
  EndIfNothingIsLeft();
  if (script_->has_ended()) {
    setting_.queue->PostDelayed(BindOnce(&RunSession::EndInAnyCase, weak_from_this()),
                                kLongestTail);
  }
}

void RunSession::EndIfNothingIsLeft() {
  if (!ending_ && streams_.is_over() && !script_->goes_on()) Finish(Ending::kSourceEnded);
}

void RunSession::EndInAnyCase() {
  if (!ending_ && !script_->goes_on()) Finish(Ending::kSourceEnded);
}

void RunSession::OnStreamEnd(SinkPlace place, video::StreamEnd end) {
  NoteSourceEnd(end);
  if (streams_.NoteEnd(place)) EndIfNothingIsLeft();
}

void RunSession::OnWriteError(SinkPlace place, media::WriteError error) {
  const bool all_over = streams_.NoteBreakOff(place);
  BreakOff result =
      JudgeBreakOff(streams_.OptionOf(place), error, ending_, streams_.goes_on(place.stream));
  if (!result.note.empty() && !setting_.options.quiet) {
    setting_.console.Line("note: " + result.note);
  }
  if (result.failure && !report_.failure) report_.failure = std::move(result.failure);
  if (result.ending) {
    Finish(*result.ending);
  } else if (all_over) {
    // The others had come to their end before.
    EndIfNothingIsLeft();
  }
}

void RunSession::OnEncoderError(VideoStreamType type, video::VideoEncoderError error,
                                const std::string& detail) {
  // Of a change that was refused the stream does not end.
  if (error == video::VideoEncoderError::kReconfigureFailed) {
    if (setting_.options.quiet) return;
    return setting_.console.Line("note: the " + std::string(StreamName(type)) +
                                 " stream goes on as it was: " + detail);
  }
  const bool is_missing = error == video::VideoEncoderError::kUnavailable;
  const std::string what = detail.empty() ? video::VideoEncoderErrorToString(error) : detail;
  Fail({is_missing ? ExitCode::kNotBuilt : ExitCode::kEncoderFailed,
        "the encoder of the " + std::string(StreamName(type)) + " stream failed: " + what});
}

void RunSession::ShowProgress() {
  if (ending_ || !setting_.console.is_terminal()) return;
  ProgressSample sample;
  sample.wall_time = setting_.now() - source_->started_at();
  streams_.AddTo(sample, *account_);
  setting_.console.SetProgress(
      progress_.Text(sample, static_cast<std::size_t>(setting_.console.columns() - 1)));
  setting_.queue->PostDelayed(BindOnce(&RunSession::ShowProgress, weak_from_this()),
                              kProgressInterval);
}

void RunSession::LookForStall() {
  if (ending_) return;
  const std::string notice =
      stall_watch_->Notice(setting_.now(), streams_.packets(), streams_.reader_waited_for());
  if (!notice.empty()) setting_.console.Line(notice);
  setting_.queue->PostDelayed(BindOnce(&RunSession::LookForStall, weak_from_this()),
                              kStallInterval);
}

void RunSession::Finish(Ending ending) {
  if (ending_) return;
  ending_ = ending;
  if (source_ != nullptr) source_->Stop();
  // Not at once: this may be an event of the very producer that is to be taken down.
  setting_.queue->Post(BindOnce(&RunSession::Stop, weak_from_this()));
}

void RunSession::Fail(Failure failure) {
  if (!report_.failure) report_.failure = std::move(failure);
  Finish(Ending::kFailed);
}

void RunSession::Stop() {
  setting_.console.SetProgress("");
  if (producer_ != nullptr) StopProducer();
  setting_.on_over();
}

void RunSession::StopProducer() {
  const bool was_uninitialized = script_->is_uninitialized();
  if (!was_uninitialized) producer_->StopCapture({});
  const bool in_haste = ending_ == Ending::kInterrupted;
  streams_.LimitWaits(in_haste ? kInterruptPatience : kLongestDrain);
  const auto deadline = setting_.now() + kLongestDrain;
  streams_.Stop(was_uninitialized ? nullptr : producer_.get(), ending_, [&] {
    return std::chrono::duration_cast<std::chrono::milliseconds>(deadline - setting_.now());
  });
  // A script may have started one into a file of its own.
  for (const VideoStreamType type : {VideoStreamType::kBig, VideoStreamType::kSmall}) {
    if (setting_.script.empty() || was_uninitialized || streams_.has(type)) continue;
    producer_->StopEncoder(type, static_cast<std::uint64_t>(kLongestDrain.count()));
  }
  report_.wall_time = setting_.now() - source_->started_at();
  report_.frames_processed = producer_->GetStats(VideoStreamType::kBig).preprocess_stat;
  script_->Stop();
  if (!was_uninitialized) producer_->Uninitialize();
  producer_.reset();
}

RunReport RunSession::Conclude() {
  report_.ending = *ending_;
  report_.streams = streams_.reports();
  std::optional<steady_clock::time_point> first_frame;
  for (const StreamReport& stream : report_.streams) {
    // A run that ends before its source has no end mark to tell of damage.
    report_.damaged_frames = std::max(report_.damaged_frames, stream.figures.damaged_frames);
    const auto& first = stream.figures.first_frame;
    if (first && (!first_frame || *first < *first_frame)) first_frame = first;
  }
  for (StreamReport& stream : report_.streams) {
    stream.frames = account_->Totals(stream.plan.type);
    report_.frames_captured = stream.frames.source.came;
  }
  if (first_frame) report_.time_to_first_frame = *first_frame - setting_.program_start;
  if (!report_.failure) {
    report_.failure =
        JudgeEnding({setting_.options.source, ending_, source_end_, report_.damaged_frames,
                     report_.frames_captured, report_.streams, streams_.sink_endings()});
  }
  return report_;
}

}  // namespace movra::app
