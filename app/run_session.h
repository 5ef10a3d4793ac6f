// One run of the producer, from its first operation to the closing of its files.

#ifndef MOVRA_APP_RUN_SESSION_H_
#define MOVRA_APP_RUN_SESSION_H_

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/console.h"
#include "app/output_files.h"
#include "app/progress_line.h"
#include "app/run_options.h"
#include "app/run_report.h"
#include "app/script_run.h"
#include "app/source_starter.h"
#include "app/stall_watch.h"
#include "app/stream_set.h"
#include "core/dispatch_queue.h"
#include "media/figures/frame_account.h"
#include "media/output/write_error.h"
#include "video/camera_service.h"
#include "video/producer/video_producer2.h"

namespace movra::app {

// What a session works with. The references outlive it.
struct RunSetting {
  const RunOptions& options;
  const video::CameraInfo& source;
  const CapturePlan& plan;
  const OutputFiles& files;
  const std::vector<ScriptLine>& script;  // Empty: none.
  EventLog* events;                       // Outlives it; null: none.
  std::chrono::steady_clock::time_point program_start;
  Console& console;
  std::shared_ptr<core::DispatchQueue> queue;  // The main queue.
  std::function<void()> on_over;               // Runs there once the session is over.
  std::function<std::chrono::steady_clock::time_point()> now = &std::chrono::steady_clock::now;
};

// Drives the producer through IVideoProducer2 alone: both encoders first, so that the first frame
// is not lost, then the capture. It ends when the end mark has come out of every stream, when the
// duration is over, at an interrupt, or at the first failure. With a script it does not end before
// that is over and what it started has ended. However it ends, what is on its way
// is written and the files are closed.
//
// Everything runs on the main queue; events of other threads are posted there, weakly.
//
//   const auto session = std::make_shared<RunSession>(setting);
//   session->Begin();
//   ...                            // until on_over, and what is posted by then
//   report = session->Conclude();
class RunSession : public std::enable_shared_from_this<RunSession> {
 public:
  explicit RunSession(const RunSetting& setting);

  // Once.
  void Begin();

  // Ends the run like its natural end. Harmless at any time.
  void Interrupt() { Finish(Ending::kInterrupted); }

  // How it went. Once, when the session is over.
  [[nodiscard]] RunReport Conclude();

 private:
  [[nodiscard]] bool OpenStreams();
  void MakeScript();
  void StartSource();

  void OnFirstFrame();
  void OnStreamLimit(std::size_t stream);
  void OnStreamEnd(SinkPlace place, video::StreamEnd end);
  void NoteSourceEnd(const video::StreamEnd& end);
  void OnSourceLost(const video::StreamEnd& end);
  void OnNextSourceEnd(const video::CaptureEnd& end);
  void OnScriptOver(bool is_idle);
  void EndIfNothingIsLeft();
  // Where the last source told its end, but no stream comes to it.
  void EndInAnyCase();
  void OnWriteError(SinkPlace place, media::WriteError error);
  void OnEncoderError(video::VideoStreamType type, video::VideoEncoderError error,
                      const std::string& detail);
  void ShowProgress();
  void LookForStall();

  // The first ending stands; the first failure is told, even if it comes while the run is ending.
  void Finish(Ending ending);
  void Fail(Failure failure);
  void Stop();
  void StopProducer();

  const RunSetting setting_;
  const std::shared_ptr<media::FrameAccount> account_;  // Of the producer's frames.
  std::shared_ptr<video::IVideoProducer2> producer_;
  std::shared_ptr<SourceStarter> source_;
  std::shared_ptr<ScriptRun> script_;
  StreamSet streams_;
  ProgressLine progress_;
  std::optional<StallWatch> stall_watch_;
  RunReport report_;
  std::optional<Ending> ending_;
  bool is_source_lost_ = false;  // The last one is, and ends no stream.
  video::StreamEnd source_end_;  // Of a source that did not end well.
};

}  // namespace movra::app

#endif  // MOVRA_APP_RUN_SESSION_H_
