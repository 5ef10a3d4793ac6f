#include "app/run_command.h"

#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "app/camera_failure.h"
#include "app/console_log_sink.h"
#include "app/output_files.h"
#include "app/picture_text.h"
#include "app/run_report.h"
#include "app/run_session.h"
#include "app/signal_watcher.h"
#include "app/stream_plan.h"
#include "base/once_callback.h"
#include "core/service_center.h"
#include "logging/log_filter.h"
#include "media/output/contact_sheet.h"
#include "video/camera_service.h"
#include "video/producer/video_producer2.h"

namespace movra::app {
namespace {

using std::chrono::steady_clock;

Result<video::CameraInfo> FindSource(const RunOptions& options) {
  if (video::IVideoProducer2::GetEncodeAbility().software_encoder == 0) {
    return Failure{ExitCode::kNotBuilt,
                   "this build has no H.264 encoder: it was made without libx264 and FFmpeg's "
                   "libraries. Build again with -DMOVRA_WITH_GPL=ON"};
  }
  std::shared_ptr<video::ICameraService> cameras;
  if (!core::ServiceCenter::Instance().GetService(video::kCameraServiceId, cameras)) {
    return Failure{ExitCode::kNotBuilt, "this build has no camera service"};
  }
  video::PlaybackParams playback;
  playback.loop = options.loop.value_or(false);
  playback.realtime = options.realtime.value_or(false);
  cameras->SetPlaybackParams(options.camera_id, playback);
  video::CameraInfo info = cameras->GetCameraInfo(options.camera_id);
  if (info.error_code != 0) {
    return CameraStartFailure(options.camera_id, info.error_code, info.error_text);
  }
  return info;
}

// A picture of what was written, by reading it back. Returns its path, empty if there is none.
std::string MakeContactSheet(const RunReport& report, const OutputFiles& files, Console& console) {
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
                    stream.figures.frames});
  }
  if (rows.empty()) return "";
  std::string error;
  if (media::WriteContactSheet(rows, files.contact_sheet, &error)) return files.contact_sheet;
  console.Line("movra-producer: no contact sheet: " + error);
  return "";
}

std::optional<Failure> WriteStats(const RunReport& report, const std::string& path) {
  if (path.empty()) return std::nullopt;
  std::ofstream file;
  if (path != "-") file.open(path, std::ios::trunc);
  std::ostream& out = path == "-" ? std::cout : file;
  out << StatsJson(report) << std::flush;
  if (out) return std::nullopt;
  const std::string name = path == "-" ? "standard output" : "'" + path + "'";
  return Failure{ExitCode::kWriteFailed, "--stats: " + name + " could not be written"};
}

std::string NothingWrittenText(Ending ending) {
  return std::string("nothing was written: ") + EndingText(ending);
}

void Tell(const RunReport& report, const RunOptions& options, Console& console) {
  bool wrote_nothing = true;
  for (const StreamReport& stream : report.streams) {
    if (stream.figures.frames > 0) wrote_nothing = false;
  }
  if (!options.quiet && !wrote_nothing) {
    std::string text = SummaryText(report);
    text.pop_back();
    console.Line(text);
  } else if (!options.quiet && !report.failure) {
    console.Line(NothingWrittenText(report.ending));
  }
  if (report.failure) console.Line("movra-producer: " + report.failure->text);
}

}  // namespace

ExitCode RunCommand(const RunOptions& options, steady_clock::time_point program_start,
                    const std::shared_ptr<core::RunLoop>& loop, Console& console) {
  const ConsoleLogSink log(console, options.log_level);
  SetLogValueFiltering(options.log_filter);
  // Looking at a source may take its time and cannot be broken off; but nothing has been made yet.
  std::atomic<bool> looking = true;
  // An interrupt that comes before there is a session waits in the loop for it.
  const auto current = std::make_shared<std::weak_ptr<RunSession>>();
  const SignalWatcher watcher([&, loop, current](int) {
    if (looking.exchange(false)) {
      if (!options.quiet) console.Line(NothingWrittenText(Ending::kInterrupted));
      _exit(static_cast<int>(ExitCode::kSuccess));
    }
    loop->Post(movra_base::BindOnce([current] {
      if (const auto session = current->lock()) session->Interrupt();
    }));
  });
  const auto fail = [&](const Failure& failure) {
    console.Line("movra-producer: " + failure.text);
    return failure.code;
  };
  const auto source = FindSource(options);
  // The watcher is ending the process.
  while (!looking.exchange(false)) pause();
  if (const Failure* const failure = FailureOf(source)) return fail(*failure);
  const CapturePlan plan = PlanCapture(options, ValueOf(source));
  const auto files = PlanOutputFiles(options, plan.streams, std::chrono::system_clock::now());
  if (const Failure* const failure = FailureOf(files)) return fail(*failure);

  if (ValueOf(source).has_audio && !options.quiet) {
    console.Line("note: the source has sound, which is not carried");
  }
  if (ValueOf(source).is_interlaced && !options.quiet) {
    console.Line("note: the source is interlaced, and its pictures are left so");
  }
  const auto session = std::make_shared<RunSession>(
      RunSetting{options, ValueOf(source), plan, ValueOf(files), program_start, console, loop});
  *current = session;
  RunReport report = session->Run();
  report.contact_sheet = MakeContactSheet(report, ValueOf(files), console);
  if (const auto failure = WriteStats(report, ValueOf(files).stats)) {
    if (report.failure) console.Line("movra-producer: " + failure->text);
    if (!report.failure) report.failure = failure;
  }
  Tell(report, options, console);
  return report.exit_code();
}

}  // namespace movra::app
