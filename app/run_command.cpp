#include "app/run_command.h"

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "app/console_log_sink.h"
#include "app/event_log.h"
#include "app/frame_rate.h"
#include "app/output_files.h"
#include "app/picture_text.h"
#include "app/run_report.h"
#include "app/run_session.h"
#include "app/script.h"
#include "app/source_failure.h"
#include "app/source_starter.h"
#include "app/source_words.h"
#include "app/stall_watch.h"
#include "app/stream_plan.h"
#include "app/whole_file.h"
#include "base/once_callback.h"
#include "core/service_center.h"
#include "logging/log_filter.h"
#include "media/application/signal_watcher.h"
#include "media/encode/encoder_registry.h"
#include "media/output/contact_sheet.h"
#include "video/camera_service.h"

namespace movra::app {
namespace {

using std::chrono::steady_clock;

bool IsPipe(const std::string& path) {
  std::error_code error;
  return std::filesystem::is_fifo(path, error);
}

// Why nothing can come of the run, whatever the source is.
std::optional<Failure> FindRefusal(const RunOptions& options) {
  const media::EncoderRegistry& encoders = media::EncoderRegistry::OfThisBuild();
  if (encoders.Find(media::kDefaultCodec) == nullptr) {
    return Failure{ExitCode::kNotBuilt, encoders.WhyNone(media::kDefaultCodec)};
  }
  const auto file = options.source_file();
  if (!file) return std::nullopt;
  if (file->path == kStandardInput && isatty(STDIN_FILENO) != 0) {
    return Failure{ExitCode::kUnreadable,
                   "standard input is a terminal; let a program write a video into it, as in "
                   "cat talk.mp4 | movra-producer run -"};
  }
  if (!file->playback.loop || !IsPipe(file->path)) return std::nullopt;
  return Failure{ExitCode::kContradiction,
                 "--loop is for video files; '" + file->path +
                     "' is a pipe, and what came through it is gone. Give a file, or leave "
                     "--loop out"};
}

// Looks at the source, while the loop runs. Nothing is known of it when the loop ended before. A
// pipe may have nobody yet who writes into it; a duration of the clock is over for it too.
Result<std::optional<video::CameraInfo>> FindSource(const RunOptions& options, core::RunLoop& loop,
                                                    Console& console) {
  if (const auto refusal = FindRefusal(options)) return *refusal;
  std::shared_ptr<video::ICameraService> cameras;
  if (!core::ServiceCenter::Instance().GetService(video::kCameraServiceId, cameras)) {
    return Failure{ExitCode::kNotBuilt, "this build has no camera service"};
  }
  // The answer may come when nobody waits for it any more.
  const auto found = std::make_shared<std::optional<video::CameraInfo>>();
  cameras->DescribeCamera(options.source,
                          movra_base::BindOnce([found, &loop](video::CameraInfo info) {
                            *found = std::move(info);
                            loop.Quit();
                          }));
  const auto is_late = std::make_shared<bool>(false);
  const auto file = options.source_file();
  if (options.duration && file && file->playback.realtime) {
    loop.PostDelayed(movra_base::BindOnce([found, is_late, &loop] {
                       if (*found) return;
                       *is_late = true;
                       loop.Quit();
                     }),
                     *options.duration + SourceStarter::kStallSlack);
  }
  if (!options.quiet) {
    loop.PostDelayed(movra_base::BindOnce([found, &console] {
                       if (!*found) console.Line(StallWatch::kSourceNotice);
                     }),
                     StallWatch::kPatience);
  }
  loop.Run();
  if (*is_late) {
    return Failure{ExitCode::kNoFrames, "nothing came from " + SourceName(options.source) +
                                            " within --duration; give it more time, or another "
                                            "source"};
  }
  if (*found && (*found)->error_code != 0) {
    return SourceStartFailure(options.source, (*found)->error_code, (*found)->error_text);
  }
  return *found;
}

// A picture of what was written, by reading it back. Returns its path, empty if there is none.
std::string MakeContactSheet(const RunReport& report, const OutputFiles& files,
                             const RunOptions& options, Console& console) {
  if (files.contact_sheet.empty()) return "";
  std::vector<media::ContactSheetRow> rows;
  for (const StreamReport& stream : report.streams) {
    // A pipe cannot be read back.
    std::error_code error;
    const bool is_file = std::filesystem::is_regular_file(stream.target.path, error);
    if (stream.target.is_stdout() || !is_file || stream.figures.frames == 0) continue;
    const double seconds = std::chrono::duration<double>(stream.figures.media_time).count();
    const auto frames = static_cast<double>(stream.figures.frames);
    const double bits = 8.0 * static_cast<double>(stream.figures.bytes);
    rows.push_back({stream.target.path,
                    std::string(StreamName(stream.plan.type)) + "   " + SizeText(stream.plan.size) +
                        "   " + FrameRateText(seconds > 0 ? frames / seconds : 0) + " fps   " +
                        BitrateText(seconds > 0 ? bits / seconds : 0),
                    stream.figures.frames, stream.figures.media_time, stream.figures.begin});
  }
  if (rows.empty()) return "";
  const auto write = [&rows](const std::string& name) {
    std::string error;
    static_cast<void>(media::WriteContactSheet(rows, name, &error));
    return error;
  };
  const std::string error = WriteWholeFile(files.contact_sheet, options.force, write);
  if (error.empty()) return files.contact_sheet;
  console.Line("movra-producer: no contact sheet: " + error);
  return "";
}

std::optional<Failure> WriteStats(const RunReport& report, const std::string& path,
                                  const RunOptions& options) {
  if (path.empty()) return std::nullopt;
  const auto write_into = [&report](std::ostream& out, const std::string& name) {
    out << StatsJson(report) << std::flush;
    return out ? std::string() : name + " could not be written";
  };
  std::string error;
  if (path == "-") {
    error = write_into(std::cout, "standard output");
  } else {
    error = WriteWholeFile(path, options.force, [&](const std::string& name) {
      std::ofstream file(name, std::ios::trunc);
      return write_into(file, "'" + path + "'");
    });
  }
  if (error.empty()) return std::nullopt;
  return Failure{ExitCode::kWriteFailed, "--stats: " + error};
}

std::string NothingWrittenText(Ending ending) {
  return std::string("nothing was written: ") + EndingText(ending);
}

void Tell(const RunReport& report, const RunOptions& options, Console& console) {
  const bool wrote_nothing = report.wrote_nothing();
  if (!options.quiet && !wrote_nothing) {
    std::string text = SummaryText(report);
    text.pop_back();
    console.Line(text);
  } else if (!options.quiet && !report.failure) {
    console.Line(NothingWrittenText(report.ending));
  }
  if (report.failure) console.Line("movra-producer: " + report.failure->text);
}

// What of the source does not come through, or not as it is there.
void TellOfTheSource(const video::CameraInfo& source, Console& console) {
  if (source.has_audio) console.Line("note: the source has sound, which is not carried");
  if (source.is_interlaced) {
    console.Line("note: the source is interlaced, and its pictures are left so");
  }
  if (source.has_alpha) console.Line("note: what is transparent in the source becomes black");
  if (source.is_hdr) {
    console.Line(
        "note: the source is HDR and is not tone-mapped; the streams say so, and players that do "
        "not look show them pale");
  }
}

}  // namespace

ExitCode RunCommand(const RunOptions& options, steady_clock::time_point program_start,
                    const std::shared_ptr<core::RunLoop>& loop, Console& console) {
  const ConsoleLogSink log(console, options.log_level);
  SetLogValueFiltering(options.log_filter);
  // Before there is a session, which ends well, there is nothing to end but the loop.
  const auto current = std::make_shared<std::weak_ptr<RunSession>>();
  const media::SignalWatcher watcher([loop, current](int) {
    loop->Post(movra_base::BindOnce([loop = loop.get(), current] {
      const auto session = current->lock();
      session != nullptr ? session->Interrupt() : loop->Quit();
    }));
  });
  const auto fail = [&](const Failure& failure) {
    console.Line("movra-producer: " + failure.text);
    return failure.code;
  };
  const Result<std::vector<ScriptLine>> script =
      options.script ? ReadScript(*options.script) : std::vector<ScriptLine>();
  if (const Failure* const failure = FailureOf(script)) {
    return fail(Prefixed("--script", *failure));
  }
  const auto found = FindSource(options, *loop, console);
  if (const Failure* const failure = FailureOf(found)) return fail(*failure);
  if (!ValueOf(found)) {
    if (!options.quiet) console.Line(NothingWrittenText(Ending::kInterrupted));
    return ExitCode::kSuccess;
  }
  const video::CameraInfo& source = *ValueOf(found);
  const CapturePlan plan = PlanCapture(options, source);
  const auto files = PlanOutputFiles(options, plan.streams, std::chrono::system_clock::now());
  if (const Failure* const failure = FailureOf(files)) return fail(*failure);

  std::unique_ptr<EventLog> events;
  if (!ValueOf(files).events.empty()) {
    auto opened = EventLog::Open(ValueOf(files).events);
    if (const Failure* const failure = FailureOf(opened))
      return fail(Prefixed("--events", *failure));
    events = std::move(ValueOf(opened));
  }

  if (!options.quiet) TellOfTheSource(source, console);
  const auto session = std::make_shared<RunSession>(
      RunSetting{options, source, plan, ValueOf(files), ValueOf(script), events.get(),
                 program_start, console, loop, [loop] { loop->Quit(); }});
  *current = session;
  loop->Post(movra_base::BindOnce(&RunSession::Begin, *current));
  loop->Run();
  // What was posted while it ended, such as a last write that failed.
  loop->RunUntilIdle();
  RunReport report = session->Conclude();
  report.contact_sheet = MakeContactSheet(report, ValueOf(files), options, console);
  if (const auto failure = WriteStats(report, ValueOf(files).stats, options)) {
    if (report.failure) console.Line("movra-producer: " + failure->text);
    if (!report.failure) report.failure = failure;
  } else if (ValueOf(files).stats != "-") {
    report.stats = ValueOf(files).stats;
  }
  Tell(report, options, console);
  return report.exit_code();
}

}  // namespace movra::app
