#include "app/run_session.h"

#include <algorithm>
#include <utility>

#include "app/source_failure.h"
#include "base/once_callback.h"
#include "core/location.h"
#include "core/notification_center.h"
#include "logging/log_identity.h"
#include "video/capture_params.h"
#include "video/encode_params.h"
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
// What the reader of a pipe has of that once a person wants the end.
constexpr std::chrono::milliseconds kInterruptPatience{1000};

// Media time of the whole run, if it is known.
std::optional<nanoseconds> TotalTime(const RunOptions& options, const video::CameraInfo& source) {
  const bool has_end = source.duration.count() > 0 && source.traits.has_end;
  if (!has_end) return options.duration;
  return options.duration ? std::min(*options.duration, source.duration) : source.duration;
}

video::EncodeParams ParamsOf(const StreamPlan& plan, const RunOptions& options) {
  video::EncodeParams params;
  params.width = plan.size.width;
  params.height = plan.size.height;
  params.frame_rate = RoundedUp(plan.frame_rate);
  // The whole rate is what the capture follows.
  if (!IsWhole(plan.frame_rate)) {
    params.frame_rate_numerator = plan.frame_rate.numerator;
    params.frame_rate_denominator = plan.frame_rate.denominator;
  }
  params.bitrate_bps = plan.bitrate_bps;
  if (options.encoder_threads) params.threads = *options.encoder_threads;
  return params;
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
      progress_(TotalTime(setting.options, setting.source)) {
  report_.source_id = setting.options.source;
  report_.source = setting.source;
  // Then the clock, and not the frames, says when the duration is over.
  report_.paced = setting.source.traits.keeps_time;
  for (std::size_t i = 0; i < setting.plan.streams.size(); ++i) {
    report_.streams.push_back({setting.plan.streams[i], setting.files.streams[i], {}, {}});
  }
}

void RunSession::Begin() {
  if (ending_) return;  // Interrupted before it began.
  if (!OpenStreams()) return;
  client_ = std::make_shared<EncoderErrorClient>(
      [this](VideoStreamType type, video::VideoEncoderError error, const std::string& detail) {
        OnEncoderError(type, error, detail);
      });
  producer_ = std::make_shared<video::VideoProducer2Impl>(video::VideoContext(kTrace, ""), client_,
                                                          VideoStreamType::kBig);
  producer_->Initialize();
  StartEncoders();
  StartCapture();
  if (setting_.options.quiet) return;
  stall_watch_.emplace(capture_start_);
  ShowProgress();
  LookForStall();
}

bool RunSession::OpenStreams() {
  const auto origin = std::make_shared<media::TimeOrigin>();
  streams_.resize(report_.streams.size());
  for (std::size_t i = 0; i < streams_.size(); ++i) {
    if (!OpenStream(i, origin)) return false;
  }
  return true;
}

bool RunSession::OpenStream(std::size_t index, const std::shared_ptr<media::TimeOrigin>& origin) {
  const StreamReport& stream = report_.streams[index];
  const auto& queue = setting_.queue;
  const auto posting = [&](auto operation) { return PostTo(queue, weak_from_this(), operation); };

  media::EncodedFileWriterOptions options;
  options.path = stream.target.path;
  options.format = stream.target.format;
  options.overwrite = setting_.options.force;
  options.origin = origin;
  options.on_error = [post = posting(&RunSession::OnWriteError),
                      index](const media::WriteError& error) { post(index, error); };
  options.on_end = [post = posting(&RunSession::OnStreamEnd), index](const video::StreamEnd& end) {
    post(index, end);
  };
  std::string error;
  streams_[index].file = media::EncodedFileWriter::Create(options, &error);
  if (streams_[index].file == nullptr) {
    Fail({ExitCode::kDirectoryNotWritable, OptionOf(index) + ": " + error});
    return false;
  }
  StreamMeter::Callbacks callbacks;
  callbacks.on_first_frame = posting(&RunSession::OnFirstFrame);
  callbacks.on_limit = [post = posting(&RunSession::OnStreamOver), index] {
    post(index, Ending::kDurationOver);
  };
  streams_[index].meter = std::make_shared<StreamMeter>(
      streams_[index].file, origin, setting_.options.duration, std::move(callbacks));
  return true;
}

void RunSession::StartEncoders() {
  for (std::size_t i = 0; i < streams_.size(); ++i) {
    const StreamPlan& plan = report_.streams[i].plan;
    producer_->StartEncoder(plan.type, ParamsOf(plan, setting_.options), streams_[i].meter);
  }
}

void RunSession::StartCapture() {
  const RunOptions& options = setting_.options;
  video::CameraParams params;
  params.camera_id = options.source;
  if (setting_.plan.frame_rate) params.frame_rate = *setting_.plan.frame_rate;
  if (setting_.plan.size) {
    params.width = setting_.plan.size->width;
    params.height = setting_.plan.size->height;
  }
  core::SubscribeEvent<std::function<void(const std::string&, const video::StreamEnd&)>>(
      video::kCaptureLostNotification, "", core::Location(__FILE__, __LINE__), shared_from_this(),
      &RunSession::OnCaptureLost);
  producer_->SetProducerMode(setting_.plan.mode);
  capture_start_ = setting_.now();
  producer_->StartCapture(params, BindOnce(&RunSession::OnCaptureStarted, weak_from_this()));
}

void RunSession::OnCaptureStarted(int error_code, int /*elapsed_ms*/) {
  if (ending_) return;
  const RunOptions& options = setting_.options;
  if (error_code != 0) {
    Fail(SourceStartFailure(options.source, error_code, ""));
  } else if (options.duration && report_.paced) {
    duration_start_ = setting_.now();
    LookForEndOfDuration();
  }
}

// There is nothing that could follow it here.
void RunSession::OnCaptureLost(const std::string& camera_id, const video::StreamEnd& end) {
  if (camera_id != setting_.options.source) return;
  report_.damaged_frames = std::max(report_.damaged_frames, end.damaged_frames);
  if (end.error_code != 0) source_end_ = end;
  Finish(Ending::kSourceEnded);
}

void RunSession::LookForEndOfDuration() {
  if (ending_) return;
  const nanoseconds left =
      duration_start_ + *setting_.options.duration + kStallSlack - setting_.now();
  if (left.count() <= 0) return Finish(Ending::kDurationOver);
  setting_.queue->PostDelayed(BindOnce(&RunSession::LookForEndOfDuration, weak_from_this()), left);
}

void RunSession::OnFirstFrame() {
  if (!std::exchange(has_frames_, true)) duration_start_ = setting_.now();
  if (setting_.files.directory) setting_.files.directory->PointLatestHere();
}

void RunSession::OnStreamOver(std::size_t index, Ending ending) {
  streams_[index].over = true;
  const bool all_over =
      std::all_of(streams_.begin(), streams_.end(), [](const Stream& s) { return s.over; });
  if (all_over) Finish(ending);
}

void RunSession::OnStreamEnd(std::size_t index, video::StreamEnd end) {
  // Each stream tells of the same source.
  report_.damaged_frames = std::max(report_.damaged_frames, end.damaged_frames);
  if (end.error_code != 0) source_end_ = std::move(end);
  OnStreamOver(index, Ending::kSourceEnded);
}

void RunSession::OnWriteError(std::size_t index, media::WriteError error) {
  using Kind = media::WriteErrorKind;
  streams_[index].error_told = true;
  const std::string text = OptionOf(index) + ": " + error.text;
  if (error.kind == Kind::kClosedPipe) {
    Finish(Ending::kReaderClosed);
  } else if (error.kind == Kind::kInterrupted && ending_ == Ending::kInterrupted) {
    if (!setting_.options.quiet) setting_.console.Line("note: " + text);
  } else {
    Fail({ExitCode::kWriteFailed, text});
  }
}

void RunSession::OnEncoderError(VideoStreamType type, video::VideoEncoderError error,
                                const std::string& detail) {
  const bool is_missing = error == video::VideoEncoderError::kUnavailable;
  const std::string what = detail.empty() ? video::VideoEncoderErrorToString(error) : detail;
  Fail({is_missing ? ExitCode::kNotBuilt : ExitCode::kEncoderFailed,
        "the encoder of the " + std::string(StreamName(type)) + " stream failed: " + what});
}

void RunSession::ShowProgress() {
  if (ending_ || !setting_.console.is_terminal()) return;
  ProgressSample sample;
  sample.wall_time = setting_.now() - capture_start_;
  for (std::size_t i = 0; i < streams_.size(); ++i) {
    const VideoStreamType type = report_.streams[i].plan.type;
    const StreamFigures figures = streams_[i].meter->Figures();
    const media::FrameTotals frames = account_->Totals(type);
    sample.frames_in = frames.source.came;
    if (i == 0) sample.dropped += LostFrames(frames.source);
    sample.dropped += LostFrames(frames.stream);
    sample.media_time = std::max(sample.media_time, figures.media_time);
    sample.streams.push_back({StreamName(type), figures.frames, figures.bytes});
  }
  setting_.console.SetProgress(
      progress_.Text(sample, static_cast<std::size_t>(setting_.console.columns() - 1)));
  setting_.queue->PostDelayed(BindOnce(&RunSession::ShowProgress, weak_from_this()),
                              kProgressInterval);
}

void RunSession::LookForStall() {
  if (ending_) return;
  std::uint64_t frames = 0;
  std::string reader;
  for (std::size_t i = 0; i < streams_.size(); ++i) {
    frames += streams_[i].meter->Figures().packets;
    if (streams_[i].file->waits_for_reader()) reader = OptionOf(i);
  }
  const std::string notice = stall_watch_->Notice(setting_.now(), frames, reader);
  if (!notice.empty()) setting_.console.Line(notice);
  setting_.queue->PostDelayed(BindOnce(&RunSession::LookForStall, weak_from_this()),
                              kStallInterval);
}

void RunSession::Finish(Ending ending) {
  if (ending_) return;
  ending_ = ending;
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
  producer_->StopCapture({});
  const bool in_haste = ending_ == Ending::kInterrupted;
  for (const Stream& stream : streams_) {
    stream.file->LimitWaits(in_haste ? kInterruptPatience : kLongestDrain);
  }
  const auto deadline = setting_.now() + kLongestDrain;
  for (std::size_t i = 0; i < streams_.size(); ++i) StopStream(i, deadline);
  report_.wall_time = setting_.now() - capture_start_;
  report_.frames_processed = producer_->GetStats(VideoStreamType::kBig).preprocess_stat;
  producer_->Uninitialize();
  producer_.reset();
}

void RunSession::StopStream(std::size_t index, steady_clock::time_point deadline) {
  StreamReport& report = report_.streams[index];
  const auto left =
      std::chrono::duration_cast<std::chrono::milliseconds>(deadline - setting_.now());
  // Without any wait an encoder would not even be asked to finish.
  producer_->StopEncoder(report.plan.type,
                         static_cast<std::uint64_t>(std::max<std::int64_t>(left.count(), 1)));
  streams_[index].file->Close(EndOf(streams_[index]));
  const media::WrittenFigures written = streams_[index].file->written();
  report.figures = streams_[index].meter->Figures();
  // A run that ends before its source has no end mark to tell of damage.
  report_.damaged_frames = std::max(report_.damaged_frames, report.figures.damaged_frames);
  report.figures.frames = written.frames;
  report.figures.key_frames = written.key_frames;
  report.figures.bytes = written.bytes;
  report.figures.file_bytes = written.file_bytes;
  report.figures.media_time = written.duration;
  report.figures.longest_wait = written.longest_wait;
}

std::optional<nanoseconds> RunSession::EndOf(const Stream& stream) const {
  const bool is_cut_off =
      ending_ == Ending::kDurationOver || stream.meter->Figures().packets_beyond_limit > 0;
  return is_cut_off ? setting_.options.duration : std::nullopt;
}

RunReport RunSession::Conclude() {
  report_.ending = *ending_;
  std::optional<steady_clock::time_point> first_frame;
  for (const StreamReport& stream : report_.streams) {
    const auto& first = stream.figures.first_frame;
    if (first && (!first_frame || *first < *first_frame)) first_frame = first;
  }
  for (StreamReport& stream : report_.streams) {
    stream.frames = account_->Totals(stream.plan.type);
    report_.frames_captured = stream.frames.source.came;
  }
  if (first_frame) report_.time_to_first_frame = *first_frame - setting_.program_start;
  if (!report_.failure) report_.failure = FindFailure();
  return report_;
}

std::optional<Failure> RunSession::FindFailure() const {
  for (std::size_t i = 0; i < streams_.size(); ++i) {
    const Stream& stream = streams_[i];
    if (stream.file == nullptr || !stream.file->failed() || stream.error_told) continue;
    const bool is_stdout = report_.streams[i].target.is_stdout();
    const std::string name = is_stdout ? "standard output" : "'" + stream.file->path() + "'";
    return Failure{ExitCode::kWriteFailed, OptionOf(i) + ": " + name + " is not complete"};
  }
  const auto is_empty = [](const StreamReport& stream) { return !stream.figures.first_frame; };
  const auto& streams = report_.streams;
  const std::string& camera = setting_.options.source;
  const video::StreamEnd& end = source_end_;
  if (end.error_code != 0 && std::all_of(streams.begin(), streams.end(), is_empty)) {
    return SourceStartFailure(camera, end.error_code, end.reason);
  }
  auto damage = SourceDamageFailure(camera, end.error_code, end.reason, report_.damaged_frames);
  if (damage) return damage;
  const auto empty = std::find_if(streams.begin(), streams.end(), is_empty);
  const bool was_cut_short = ending_ == Ending::kInterrupted || ending_ == Ending::kReaderClosed;
  if (empty == streams.end() || was_cut_short) return std::nullopt;
  return Failure{ExitCode::kNoFrames,
                 "the " + std::string(StreamName(empty->plan.type)) +
                     " stream received no frame (" + std::to_string(report_.frames_captured) +
                     " came from the source); give it more time, or another source"};
}

std::string RunSession::OptionOf(std::size_t index) const {
  return "--" + std::string(StreamName(report_.streams[index].plan.type));
}

}  // namespace movra::app
