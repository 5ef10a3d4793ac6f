#include "app/stream_set.h"

#include <algorithm>
#include <utility>

#include "media/output/sink_kinds.h"
#include "media/output/time_origin.h"
#include "video/encode_params.h"

namespace movra::app {
namespace {

using video::VideoStreamType;

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

}  // namespace

bool StreamSet::Stream::is_over() const {
  return limit_reached || std::none_of(states.begin(), states.end(),
                                       [](SinkState state) { return state == SinkState::kOpen; });
}

StreamSet::StreamSet(const RunOptions& options, const std::vector<StreamPlan>& plans,
                     const OutputFiles& files)
    : options_(options) {
  for (std::size_t i = 0; i < plans.size(); ++i) {
    StreamReport& report = reports_.emplace_back();
    report.plan = plans[i];
    report.target = files.streams[i];
    for (StreamTarget& target : files.targets_of(i)) {
      report.sinks.push_back({std::move(target), {}, false});
    }
  }
}

std::optional<Failure> StreamSet::Open(const Events& events, media::SourceClock clock) {
  const auto origin = std::make_shared<media::TimeOrigin>();
  for (std::size_t i = 0; i < reports_.size(); ++i) {
    if (auto failure = OpenStream(i, events, origin, clock)) return failure;
  }
  return std::nullopt;
}

std::optional<Failure> StreamSet::OpenStream(std::size_t index, const Events& events,
                                             const std::shared_ptr<media::TimeOrigin>& origin,
                                             media::SourceClock clock) {
  std::vector<media::FanOutSink> sinks;
  for (const SinkReport& sink : reports_[index].sinks) {
    const SinkPlace place{index, sinks.size()};
    media::SinkRequest request;
    request.path = sink.target.path;
    request.format = sink.target.format;
    request.overwrite = options_.force;
    request.stays_open = options_.script.has_value();
    request.origin = origin;
    request.on_error = [tell = events.on_error, place](const media::WriteError& error) {
      tell(place, error);
    };
    request.on_end = [tell = events.on_end, place](const video::StreamEnd& end) {
      tell(place, end);
    };
    // Of a kind that there is, as whoever read the target made sure of.
    const media::SinkKind& kind = *media::FindSinkKind(sink.target.scheme);
    std::string error;
    auto made = kind.make(request, &error);
    if (made == nullptr) {
      return Failure{ExitCode::kDirectoryNotWritable, OptionOf(place) + ": " + error};
    }
    sinks.push_back({std::move(made), media::UsualSinkQueue(kind.policy, clock), request.on_error});
  }
  Stream stream;
  stream.states.resize(sinks.size(), SinkState::kOpen);
  stream.sinks = std::make_shared<media::EncodedFanOut>(std::move(sinks));
  StreamMeter::Callbacks callbacks;
  callbacks.on_first_frame = events.on_first_frame;
  callbacks.on_limit = [tell = events.on_limit, index] { tell(index); };
  stream.meter =
      std::make_shared<StreamMeter>(stream.sinks, origin, options_.duration, std::move(callbacks));
  streams_.push_back(std::move(stream));
  return std::nullopt;
}

void StreamSet::Start(video::IVideoProducer2& producer) const {
  for (std::size_t i = 0; i < streams_.size(); ++i) {
    const StreamPlan& plan = reports_[i].plan;
    producer.StartEncoder(plan.type, ParamsOf(plan, options_), streams_[i].meter);
  }
}

bool StreamSet::NoteLimit(std::size_t stream) {
  streams_[stream].limit_reached = true;
  return is_over();
}

bool StreamSet::NoteEnd(const SinkPlace& place) {
  SinkState& state = streams_[place.stream].states[place.sink];
  if (state == SinkState::kOpen) state = SinkState::kEnded;
  return is_over();
}

bool StreamSet::NoteBreakOff(const SinkPlace& place) {
  streams_[place.stream].states[place.sink] = SinkState::kBrokenOff;
  return is_over();
}

void StreamSet::GoOn() {
  for (Stream& stream : streams_) {
    std::replace(stream.states.begin(), stream.states.end(), SinkState::kEnded, SinkState::kOpen);
  }
}

bool StreamSet::goes_on(std::size_t stream) const {
  const auto& states = streams_[stream].states;
  return std::any_of(states.begin(), states.end(),
                     [](SinkState state) { return state != SinkState::kBrokenOff; });
}

bool StreamSet::is_over() const {
  return std::all_of(streams_.begin(), streams_.end(),
                     [](const Stream& stream) { return stream.is_over(); });
}

std::string StreamSet::OptionOf(const SinkPlace& place) const {
  const char* const dashes = place.sink == 0 ? "--" : "--also ";
  return dashes + std::string(StreamName(reports_[place.stream].plan.type));
}

bool StreamSet::has(VideoStreamType type) const {
  return std::any_of(reports_.begin(), reports_.end(),
                     [type](const StreamReport& report) { return report.plan.type == type; });
}

void StreamSet::AddTo(ProgressSample& sample, const media::FrameAccount& account) const {
  for (std::size_t i = 0; i < streams_.size(); ++i) {
    const VideoStreamType type = reports_[i].plan.type;
    const StreamFigures figures = streams_[i].meter->Figures();
    const media::FrameTotals frames = account.Totals(type);
    sample.frames_in = frames.source.came;
    if (i == 0) sample.dropped += LostFrames(frames.source);
    sample.dropped += LostFrames(frames.stream);
    sample.media_time = std::max(sample.media_time, figures.media_time);
    sample.streams.push_back({StreamName(type), figures.frames, figures.bytes});
  }
}

std::uint64_t StreamSet::packets() const {
  std::uint64_t packets = 0;
  for (const Stream& stream : streams_) packets += stream.meter->Figures().packets;
  return packets;
}

std::string StreamSet::reader_waited_for() const {
  std::string option;
  for (std::size_t i = 0; i < streams_.size(); ++i) {
    const media::EncodedFanOut& sinks = *streams_[i].sinks;
    for (std::size_t j = 0; j < sinks.size(); ++j) {
      if (sinks.sink(j).waits_for_reader()) option = OptionOf({i, j});
    }
  }
  return option;
}

void StreamSet::LimitWaits(std::chrono::milliseconds patience) const {
  for (const Stream& stream : streams_) stream.sinks->LimitWaits(patience);
}

void StreamSet::Stop(video::IVideoProducer2* producer, std::optional<Ending> ending,
                     const std::function<std::chrono::milliseconds()>& left) {
  for (std::size_t i = 0; i < streams_.size(); ++i) {
    const Stream& stream = streams_[i];
    // Without any wait an encoder would not even be asked to finish.
    if (producer != nullptr) {
      producer->StopEncoder(reports_[i].plan.type,
                            static_cast<std::uint64_t>(std::max<std::int64_t>(left().count(), 1)));
    }
    stream.sinks->Close(EndOfLastPicture(ending, stream.meter->Figures(), options_.duration));
    NoteFigures(i);
  }
}

void StreamSet::NoteFigures(std::size_t index) {
  const Stream& stream = streams_[index];
  StreamReport& report = reports_[index];
  for (std::size_t i = 0; i < report.sinks.size(); ++i) {
    report.sinks[i].figures = stream.sinks->figures(i);
    report.sinks[i].broken_off = stream.sinks->broken_off(i);
  }
  report.figures = stream.meter->Figures();
  report.figures.TakeWritten(report.sinks.front().figures.written);
}

std::vector<SinkEnding> StreamSet::sink_endings() const {
  std::vector<SinkEnding> endings;
  for (std::size_t i = 0; i < streams_.size(); ++i) {
    const Stream& stream = streams_[i];
    for (std::size_t j = 0; j < stream.states.size(); ++j) {
      endings.push_back({OptionOf({i, j}), stream.sinks->sink(j).name(),
                         stream.sinks->broken_off(j), stream.states[j] == SinkState::kBrokenOff});
    }
  }
  return endings;
}

}  // namespace movra::app
