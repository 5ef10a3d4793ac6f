#include "app/run_report.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <string>

#include "app/duration_text.h"
#include "app/frame_rate.h"
#include "app/picture_text.h"
#include "app/version.h"

namespace movra::app {
namespace {

using media::FrameFate;
using std::chrono::nanoseconds;
// Keeps the fields in the order in which they are written here.
using Json = nlohmann::ordered_json;

double Seconds(nanoseconds duration) { return std::chrono::duration<double>(duration).count(); }

double PerSecond(double amount, nanoseconds duration) {
  return duration.count() > 0 ? amount / Seconds(duration) : 0;
}

double BitsPerSecond(const StreamFigures& figures) {
  return PerSecond(8.0 * static_cast<double>(figures.bytes), figures.media_time);
}

double FramesPerSecond(const StreamFigures& figures) {
  return PerSecond(static_cast<double>(figures.frames), figures.media_time);
}

std::string TypedText(const StreamTarget& target) {
  return target.is_file() ? target.path : target.scheme + ":" + target.path;
}

std::string TargetText(const StreamTarget& target) {
  return target.is_stdout() ? "standard output" : TypedText(target);
}

using Row = std::array<std::string, 7>;

Row SinkRow(const StreamPlan& plan, const StreamFigures& figures, const StreamTarget& target) {
  return {StreamName(plan.type),
          SizeText(plan.size),
          std::to_string(figures.frames),
          FrameRateText(FramesPerSecond(figures)) + " fps",
          BitrateText(BitsPerSecond(figures)),
          BytesText(figures.file_bytes),
          TargetText(target)};
}

// What of the stream is the sink's own is the sink's.
StreamFigures FiguresOf(const StreamReport& stream, const SinkReport& sink) {
  StreamFigures figures = stream.figures;
  figures.TakeWritten(sink.figures.written);
  return figures;
}

// A line for each place that the stream went to.
void AddRows(const StreamReport& stream, std::vector<Row>& rows) {
  rows.push_back(SinkRow(stream.plan, stream.figures, stream.target));
  for (std::size_t i = 1; i < stream.sinks.size(); ++i) {
    const SinkReport& sink = stream.sinks[i];
    rows.push_back(SinkRow(stream.plan, FiguresOf(stream, sink), sink.target));
  }
}

// Columns as wide as their widest cell; numbers stand to the right.
std::string TableText(const std::vector<Row>& rows) {
  std::array<std::size_t, std::tuple_size_v<Row>> widths{};
  for (const Row& row : rows) {
    for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], row[i].size());
  }
  std::string text;
  for (const Row& row : rows) {
    for (std::size_t i = 0; i < row.size(); ++i) {
      const std::string blanks(widths[i] - row[i].size(), ' ');
      const bool is_number = i >= 2 && i <= 5;
      if (i > 0) text += "  ";
      if (is_number) text += blanks;
      text += row[i];
      if (!is_number && i + 1 < row.size()) text += blanks;
    }
    text += '\n';
  }
  return text;
}

struct Loss {
  FrameFate fate;
  const char* text;
};
constexpr std::array kLosses{
    Loss{FrameFate::kDisplaced, "too late"}, Loss{FrameFate::kNotMade, "impossible to make"},
    Loss{FrameFate::kIntercepted, "intercepted"}, Loss{FrameFate::kUnwanted, "unwanted"},
    Loss{FrameFate::kFailed, "failed"}};

// What did not get into the streams although it should have; and what could not, because the run
// was ended before.
std::string LossText(const RunReport& report) {
  std::string text;
  const auto add = [&](std::uint64_t count, const std::string& what) {
    if (count == 0) return;
    text += (text.empty() ? "" : ", ") + std::to_string(count) + " " + what;
  };
  const auto add_losses = [&](const media::FrameCounts& counts, const std::string& whose) {
    for (const Loss& loss : kLosses) add(counts.of(loss.fate), loss.text + (" for " + whose));
  };
  add(report.damaged_frames, "damaged in the source");
  if (!report.streams.empty()) add_losses(report.streams[0].frames.source, "every stream");
  std::uint64_t stopped = 0;
  for (const StreamReport& stream : report.streams) {
    const std::string name = StreamName(stream.plan.type);
    add_losses(stream.frames.stream, name);
    add(stream.frames_not_written(), "not written for " + name);
    for (std::size_t i = 1; i < stream.sinks.size(); ++i) {
      const SinkReport& sink = stream.sinks[i];
      add(sink.frames_lost(), "not written for " + name + " into " + TargetText(sink.target));
    }
    stopped = std::max(stopped,
                       stream.frames_that(FrameFate::kStopped) + stream.frames_beyond_duration());
  }
  if (text.empty()) text = "none lost";
  add(stopped, "cut off by the end");
  return text;
}

// Many players take a longer wait in a transport stream for a clock that was set, and cut it out.
std::string LongWaitText(const StreamTarget& target, nanoseconds longest_wait) {
  constexpr nanoseconds kLongestWait = std::chrono::seconds(10);
  const bool is_transport = target.format == media::ContainerFormat::kMpegTs;
  if (!is_transport || longest_wait <= kLongestWait) return "";
  return "note: in " + TargetText(target) + " a picture stands for " + ClockText(longest_wait) +
         ", and many players cut out of MPEG-TS what exceeds ten seconds; MP4 and MKV keep it\n";
}

Json SourceJson(const RunReport& report) {
  const video::CameraInfo& source = report.source;
  return {
      {"camera", report.source_id},
      {"is_file", media::ParseFileSourceId(report.source_id).has_value()},
      {"width_px", source.natural_size.width},
      {"height_px", source.natural_size.height},
      {"frame_rate_fps", source.rate_denominator > 0
                             ? static_cast<double>(source.rate_numerator) / source.rate_denominator
                             : 0.0},
      {"duration_s", Seconds(source.duration)},
      {"has_audio", source.has_audio}};
}

void Append(Json& json, const std::string& name, const DurationSummary& summary) {
  json[name + "_mean_us"] = summary.mean.count();
  json[name + "_p50_us"] = summary.p50.count();
  json[name + "_p95_us"] = summary.p95.count();
  json[name + "_p99_us"] = summary.p99.count();
  json[name + "_max_us"] = summary.max.count();
}

Json SinkJson(const SinkReport& sink) {
  const media::SinkFigures& figures = sink.figures;
  Json json = {{"target", TypedText(sink.target)},
               {"broke_off", sink.broken_off},
               {"frames_written", figures.written.frames},
               {"key_frames_written", figures.written.key_frames},
               {"bytes_written", figures.written.file_bytes},
               {"picture_bytes_written", figures.written.bytes},
               {"duration_s", Seconds(figures.written.duration)},
               {"frames_handed", figures.handed}};
  for (std::size_t i = 0; i < media::kSinkDrops; ++i) {
    const auto drop = static_cast<media::SinkDrop>(i);
    json["frames_dropped_" + std::string(media::SinkDropName(drop))] = figures.dropped_for(drop);
  }
  json["frames_not_written"] = figures.not_written();
  return json;
}

Json StreamJson(const StreamReport& stream, bool paced) {
  const StreamFigures& figures = stream.figures;
  Json json = {{"stream", StreamName(stream.plan.type)},
               {"file", stream.target.path},
               {"width_px", stream.plan.size.width},
               {"height_px", stream.plan.size.height},
               {"frame_rate_limit_fps", stream.plan.frame_rate.PerSecond()},
               {"frame_rate_fps", FramesPerSecond(figures)},
               {"target_bitrate_bps", stream.plan.bitrate_bps},
               {"bitrate_bps", BitsPerSecond(figures)},
               {"duration_s", Seconds(figures.media_time)},
               {"frames_written", figures.frames},
               {"key_frames_written", figures.key_frames},
               {"bytes_written", figures.file_bytes},
               {"picture_bytes_written", figures.bytes},
               {"frames_delivered", stream.frames.source.came}};
  for (std::size_t i = 0; i < media::kFrameFates; ++i) {
    const auto fate = static_cast<FrameFate>(i);
    json["frames_" + std::string(media::FrameFateName(fate))] = stream.frames_that(fate);
  }
  json["frames_beyond_duration"] = stream.frames_beyond_duration();
  json["frames_not_written"] = stream.frames_not_written();
  Append(json, "encode_time", figures.encode_time);
  Append(json, "latency", figures.latency);
  Append(json, "latency_without_encode", figures.road);
  if (paced) Append(json, "pacing_error", figures.pacing_error);
  json["sinks"] = Json::array();
  for (const SinkReport& sink : stream.sinks) json["sinks"].push_back(SinkJson(sink));
  return json;
}

}  // namespace

const char* EndingText(Ending ending) {
  switch (ending) {
    case Ending::kSourceEnded:
      return "source ended";
    case Ending::kDurationOver:
      return "duration over";
    case Ending::kInterrupted:
      return "interrupted";
    case Ending::kReaderClosed:
      return "reader closed the pipe";
    case Ending::kFailed:
      break;
  }
  return "failed";
}

std::uint64_t StreamReport::frames_that(FrameFate fate) const {
  const auto counted = [this](FrameFate f) { return frames.source.of(f) + frames.stream.of(f); };
  // The encoder counts a frame once its writer has returned.
  const std::uint64_t encoded = counted(FrameFate::kEncoded);
  const std::uint64_t handed = figures.packets - std::min(figures.packets, encoded);
  const std::uint64_t in_hand = std::min(handed, frames.on_the_way());
  if (fate == FrameFate::kEncoded) return encoded + in_hand;
  if (fate == FrameFate::kStopped) return counted(fate) + frames.on_the_way() - in_hand;
  return counted(fate);
}

std::uint64_t StreamReport::frames_beyond_duration() const { return figures.packets_beyond_limit; }

std::uint64_t StreamReport::frames_not_written() const {
  const std::uint64_t encoded = frames_that(FrameFate::kEncoded);
  return encoded - std::min(encoded, figures.frames + figures.packets_beyond_limit);
}

std::uint64_t LostFrames(const media::FrameCounts& counts) {
  std::uint64_t lost = 0;
  for (const Loss& loss : kLosses) lost += counts.of(loss.fate);
  return lost;
}

nanoseconds RunReport::media_time() const {
  nanoseconds longest{0};
  for (const StreamReport& stream : streams) {
    longest = std::max(longest, stream.figures.media_time);
    for (const SinkReport& sink : stream.sinks) {
      longest = std::max(longest, sink.figures.written.duration);
    }
  }
  return longest;
}

bool RunReport::wrote_nothing() const {
  return std::all_of(streams.begin(), streams.end(), [](const StreamReport& stream) {
    return stream.figures.frames == 0 &&
           std::all_of(stream.sinks.begin(), stream.sinks.end(),
                       [](const SinkReport& sink) { return sink.figures.written.frames == 0; });
  });
}

double RunReport::speed() const { return PerSecond(Seconds(media_time()), wall_time); }

std::string SummaryText(const RunReport& report) {
  std::vector<Row> rows{{"stream", "size", "frames", "rate", "bit rate", "bytes", "file"}};
  for (const StreamReport& stream : report.streams) AddRows(stream, rows);
  char speed[32];
  std::snprintf(speed, sizeof speed, "%.1fx", report.speed());
  std::string text = TableText(rows);
  text += std::to_string(report.frames_captured) +
          (report.frames_captured == 1 ? " frame in, " : " frames in, ") + LossText(report) + "; " +
          ClockText(report.media_time()) + " of video in " + ClockText(report.wall_time) + ", " +
          speed + "; " + EndingText(report.ending) + "\n";
  for (const StreamReport& stream : report.streams) {
    text += LongWaitText(stream.target, stream.figures.longest_wait);
    for (std::size_t i = 1; i < stream.sinks.size(); ++i) {
      const SinkReport& sink = stream.sinks[i];
      text += LongWaitText(sink.target, sink.figures.written.longest_wait);
    }
  }
  if (!report.contact_sheet.empty()) text += "pictures: " + report.contact_sheet + "\n";
  if (!report.stats.empty()) text += "figures: " + report.stats + "\n";
  return text;
}

std::string StatsJson(const RunReport& report) {
  Json streams = Json::array();
  for (const StreamReport& stream : report.streams) {
    streams.push_back(StreamJson(stream, report.paced));
  }
  const Json stats = {
      {"version", kVersion},
      {"ending", EndingText(report.ending)},
      {"exit_code", static_cast<int>(report.exit_code())},
      {"error", report.failure ? Json(report.failure->text) : Json()},
      {"source", SourceJson(report)},
      {"wall_time_s", Seconds(report.wall_time)},
      {"media_time_s", Seconds(report.media_time())},
      {"speed_x", report.speed()},
      {"time_to_first_frame_s", Seconds(report.time_to_first_frame)},
      {"frames_captured", report.frames_captured},
      {"frames_processed", report.frames_processed},
      {"frames_damaged", report.damaged_frames},
      {"streams", streams},
      {"contact_sheet", report.contact_sheet.empty() ? Json() : Json(report.contact_sheet)}};
  // A file name need not be UTF-8; what is not becomes a replacement character.
  return stats.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace movra::app
