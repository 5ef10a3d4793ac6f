#include "media/screen/screen_sharing_impl.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <utility>

#include "base/once_callback.h"
#include "logging/log_message.h"
#include "logging/log_stream.h"
#include "media/capture/camera_error.h"
#include "media/screen/screen_source.h"

namespace movra::media {

using std::chrono::steady_clock;
using video::CameraInfo;
using video::DesktopScreenParams;
using video::IPixelFrameTrackWriter;
using video::VideoScreenSharingError;
using video::VideoScreenSharingStoppedReason;

namespace {

constexpr int kWarning = movra_logging::kLogLevelWarning;

VideoScreenSharingError ErrorOf(std::int32_t code) {
  switch (static_cast<CameraError>(code)) {
    case CameraError::kNone:
      return VideoScreenSharingError::kNone;
    case CameraError::kUnavailable:
    case CameraError::kUnsupported:
      return VideoScreenSharingError::kUnavailable;
    case CameraError::kNoSuchCamera:
      return VideoScreenSharingError::kSourceNotFound;
    case CameraError::kNoDisplay:
      return VideoScreenSharingError::kNoDisplay;
    case CameraError::kNoPermission:
      return VideoScreenSharingError::kNotPermitted;
    default:
      return VideoScreenSharingError::kCaptureFailed;
  }
}

void AddTo(std::vector<long>& windows, long window) {
  if (std::find(windows.begin(), windows.end(), window) == windows.end()) {
    windows.push_back(window);
  }
}

void RemoveFrom(std::vector<long>& windows, long window) {
  windows.erase(std::remove(windows.begin(), windows.end(), window), windows.end());
}

}  // namespace

// One start: what is told of it, from whatever thread, and where its frames go.
class ScreenSharingImpl::Run final : public ScreenObserver,
                                     public IPixelFrameTrackWriter,
                                     public CountingTrackEnd {
 public:
  using Sender = ClientRelay<Client>::Sender;

  Run(long source, Sender sender, std::shared_ptr<OutputWriters> outputs, ScreenSettings settings)
      : source_(source),
        sender_(std::move(sender)),
        outputs_(std::move(outputs)),
        control_(std::make_shared<ScreenControl>(std::move(settings))) {}

  [[nodiscard]] long source() const { return source_; }
  [[nodiscard]] const std::shared_ptr<ScreenControl>& control() const { return control_; }
  // Whether the client has been told of its end. Main queue.
  [[nodiscard]] bool is_over() const { return *is_over_; }

  void ReportStarted() const {
    sender_.Post([source = source_](Client& client) { client.OnScreenSharingStarted(source); });
  }
  void ReportError(VideoScreenSharingError error) const {
    sender_.Post([source = source_, is_over = is_over_, error](Client& client) {
      if (!std::exchange(*is_over, true)) client.OnScreenSharingError(source, error);
    });
  }
  void ReportStopped(VideoScreenSharingStoppedReason reason) const {
    sender_.Post([source = source_, is_over = is_over_, reason](Client& client) {
      if (!std::exchange(*is_over, true)) client.OnScreenSharingStopped(source, reason);
    });
  }

  // ScreenObserver
  void OnPaused(video::VideoScreenSharingPausedReason reason) override {
    sender_.Post([source = source_, reason](Client& client) {
      client.OnScreenSharingPaused(source, reason);
    });
  }
  void OnResumed(video::VideoScreenSharingResumedReason reason) override {
    sender_.Post([source = source_, reason](Client& client) {
      client.OnScreenSharingResumed(source, reason);
    });
  }
  void OnCovered() override {
    sender_.Post([source = source_](Client& client) { client.OnWindowCovered(source); });
  }
  void OnWindowSize(const video::Size& size) override {
    sender_.Post([source = source_, size](Client& client) {
      client.OnScreenSharingWindowSizeChanged(source, size);
    });
  }
  void OnMode(video::CapturerMode from, video::CapturerMode to) override {
    sender_.Post([source = source_, from, to](Client& client) {
      client.OnCapturerModeChange(source, from, to);
    });
  }
  void OnGone(VideoScreenSharingStoppedReason reason) override { ReportStopped(reason); }

  // IPixelFrameTrackWriter: the capture's thread.
  video::TrackWriteResult Write(video::PixelFrame frame) override {
    const auto result = outputs_->Write(std::move(frame));
    if (!std::exchange(has_frames_, true)) {
      const auto elapsed =
          std::chrono::duration_cast<std::chrono::milliseconds>(steady_clock::now() - start_);
      sender_.Post([source = source_, elapsed = elapsed.count()](Client& client) {
        client.OnScreenSharingFirstFrame(source, elapsed);
      });
    }
    return result;
  }

  // CountingTrackEnd
  void CountInto(const std::shared_ptr<FrameCounters>& /*counters*/) override {}
  [[nodiscard]] bool CountsInto(const FrameCounters& /*counters*/) const override { return false; }
  void CountUnwritten(FrameFate fate) override { outputs_->CountUnwritten(fate); }

 private:
  const long source_;
  const Sender sender_;
  const std::shared_ptr<OutputWriters> outputs_;
  const std::shared_ptr<ScreenControl> control_;
  const steady_clock::time_point start_ = steady_clock::now();
  // The main queue's.
  const std::shared_ptr<bool> is_over_ = std::make_shared<bool>(false);
  bool has_frames_ = false;  // The capture thread's.
};

ScreenSharingImpl::ScreenSharingImpl(const video::VideoContext& context,
                                     ScreenSourceFactory make_source)
    : context_(context),
      make_source_(std::move(make_source)),
      checker_("a screen sharing", context) {}

ScreenSharingImpl::~ScreenSharingImpl() {
  if (capture_ != nullptr) capture_->Stop();
  outputs_->RemoveAll();
}

void ScreenSharingImpl::AddOutputWriter(std::shared_ptr<IPixelFrameTrackWriter> writer) {
  checker_.Check();
  outputs_->Add(std::move(writer));
}

void ScreenSharingImpl::RemoveOutputWriter(std::shared_ptr<IPixelFrameTrackWriter> writer) {
  checker_.Check();
  outputs_->Remove(writer);
}

void ScreenSharingImpl::StartDesktopCapture(const DesktopScreenParams& params) {
  checker_.Check();
  StopRun();
  const auto source = static_cast<long>(params.source_id.value_or(kWholeDesktop));
  auto run = std::make_shared<Run>(source, relay_.Open(), outputs_,
                                   ScreenSettings{params, false, excluded_, included_});
  delivered_ = std::make_shared<std::atomic<std::uint32_t>>(0);
  SourceCapture::Camera camera;
  const bool is_window = params.source_kind.value_or(kDisplayKind) == kWindowKind;
  camera.id = (is_window ? "window " : "screen ") + std::to_string(source);
  camera.make =
      movra_base::BindOnce([make = make_source_, run] { return make(run->control(), run); });
  auto capture = std::make_shared<SourceCapture>(std::move(camera), run,
                                                 CaptureRequest{{}, params.frame_rate.value_or(0)},
                                                 std::make_shared<CaptureClock>(), delivered_);
  // The writers stay, and are written by one thread at a time.
  if (capture_ != nullptr) leftovers_.push_back(capture_);
  std::erase_if(leftovers_, [](const auto& leftover) { return leftover.expired(); });
  for (const auto& leftover : leftovers_) {
    if (const auto former = leftover.lock()) capture->WaitFor(former->writer_let_go());
  }
  const auto on_opened = [run](const CameraInfo& info) {
    info.error_code == 0 ? run->ReportStarted() : run->ReportError(ErrorOf(info.error_code));
  };
  const auto on_ended = [run](const video::CaptureEnd&) {
    run->ReportStopped(VideoScreenSharingStoppedReason::kFailed);
  };
  if (!capture->Start(on_opened, on_ended)) {
    Log(kWarning, "A screen cannot be captured: the system has no thread left");
    run->ReportError(VideoScreenSharingError::kCaptureFailed);
  }
  capture_ = std::move(capture);
  run_ = std::move(run);
}

void ScreenSharingImpl::StartMobileCapture(const video::MobileScreenParams& /*params*/) {
  checker_.Check();
  StopRun();
  Log(kWarning, "A phone's screen cannot be captured yet");
  run_ =
      std::make_shared<Run>(static_cast<long>(kPhone), relay_.Open(), outputs_, ScreenSettings{});
  run_->ReportError(VideoScreenSharingError::kUnavailable);
}

void ScreenSharingImpl::Stop() {
  checker_.Check();
  StopRun();
}

void ScreenSharingImpl::StopRun() {
  if (run_ == nullptr) return;
  if (capture_ != nullptr) capture_->Stop();
  relay_.Close();
  const std::shared_ptr<Run> run = std::exchange(run_, nullptr);
  if (run->is_over()) return;
  stops_.Open().Post([source = run->source()](Client& client) {
    client.OnScreenSharingStopped(source, VideoScreenSharingStoppedReason::kByRequest);
  });
}

void ScreenSharingImpl::UpdateDesktopScreenParams(const DesktopScreenParams& params) {
  checker_.Check();
  if (run_ == nullptr) return;
  run_->control()->Change(
      [&params](ScreenSettings& settings) { MergeInto(settings.params, params); });
  if (params.frame_rate.has_value() && capture_ != nullptr) {
    capture_->SetRequest({{}, *params.frame_rate});
  }
}

void ScreenSharingImpl::UpdateMobileScreenParams(const video::MobileScreenParams& /*params*/) {
  checker_.Check();
}

void ScreenSharingImpl::Pause() {
  checker_.Check();
  if (run_ != nullptr) run_->control()->Change([](ScreenSettings& s) { s.paused = true; });
}

void ScreenSharingImpl::Resume() {
  checker_.Check();
  if (run_ != nullptr) run_->control()->Change([](ScreenSettings& s) { s.paused = false; });
}

void ScreenSharingImpl::SetClient(std::shared_ptr<Client> client) {
  checker_.Check();
  relay_.SetClient(client);
  stops_.SetClient(client);
}

std::uint32_t ScreenSharingImpl::GetCaptureStat() {
  checker_.Check();
  return delivered_ == nullptr ? 0 : delivered_->load(std::memory_order_relaxed);
}

void ScreenSharingImpl::AddExcludedShareWindow(long window) {
  checker_.Check();
  AddTo(excluded_, window);
  TellOfWindows();
}

void ScreenSharingImpl::RemoveExcludedShareWindow(long window) {
  checker_.Check();
  RemoveFrom(excluded_, window);
  TellOfWindows();
}

void ScreenSharingImpl::RemoveAllExcludedShareWindow() {
  checker_.Check();
  excluded_.clear();
  TellOfWindows();
}

void ScreenSharingImpl::AddIncludedShareWindow(long window) {
  checker_.Check();
  AddTo(included_, window);
  TellOfWindows();
}

void ScreenSharingImpl::RemoveIncludedShareWindow(long window) {
  checker_.Check();
  RemoveFrom(included_, window);
  TellOfWindows();
}

void ScreenSharingImpl::RemoveAllIncludedShareWindow() {
  checker_.Check();
  included_.clear();
  TellOfWindows();
}

void ScreenSharingImpl::TellOfWindows() {
  if (run_ == nullptr) return;
  run_->control()->Change([this](ScreenSettings& settings) {
    settings.excluded = excluded_;
    settings.included = included_;
  });
}

void ScreenSharingImpl::Log(int level, std::string_view text) const {
  if (!movra_logging::ShouldCreateLogMessage(level)) return;
  LogStream("media/screen/screen_sharing_impl", __LINE__, __func__, level, nullptr)
      << LogTraceId(context_.trace()) << LogTag(context_.log_tag()) << " " << std::string(text);
}

}  // namespace movra::media
