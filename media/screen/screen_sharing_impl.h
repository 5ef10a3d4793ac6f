#ifndef MOVRA_MEDIA_SCREEN_SCREEN_SHARING_IMPL_H_
#define MOVRA_MEDIA_SCREEN_SCREEN_SHARING_IMPL_H_

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "media/capture/frame_source.h"
#include "media/capture/source_capture.h"
#include "media/main_queue/client_relay.h"
#include "media/main_queue/main_queue_checker.h"
#include "media/screen/output_writers.h"
#include "media/screen/screen_control.h"
#include "video/screen_sharing.h"

namespace movra::media {

// Makes what captures a screen; the observer outlives it.
using ScreenSourceFactory = std::function<std::unique_ptr<FrameSource>(
    std::shared_ptr<ScreenControl>, std::shared_ptr<ScreenObserver>)>;

// Captures screens and windows. Each start has a thread and a source of its own
// (media/capture/source_capture.h); here is what joins them to the client, the writers and the
// lists of windows, which stay from one start to the next. Main queue.
//
// A start is answered once: by OnScreenSharingStarted, by OnScreenSharingError, or by the stop that
// came before. What has started ends once, by OnScreenSharingStopped. The stop that was asked for
// is reported too, behind the operation.
class ScreenSharingImpl final : public video::IScreenSharing {
 public:
  ScreenSharingImpl(const video::VideoContext& context, ScreenSourceFactory make_source);
  ~ScreenSharingImpl() override;

  // IScreenSharing
  void AddOutputWriter(std::shared_ptr<video::IPixelFrameTrackWriter> writer) override;
  void RemoveOutputWriter(std::shared_ptr<video::IPixelFrameTrackWriter> writer) override;
  void StartDesktopCapture(const video::DesktopScreenParams& params) override;
  void StartMobileCapture(const video::MobileScreenParams& params) override;
  void Stop() override;
  void UpdateDesktopScreenParams(const video::DesktopScreenParams& params) override;
  void UpdateMobileScreenParams(const video::MobileScreenParams& params) override;
  void Pause() override;
  void Resume() override;
  void SetClient(std::shared_ptr<Client> client) override;
  [[nodiscard]] std::uint32_t GetCaptureStat() override;
  void AddExcludedShareWindow(long window) override;
  void RemoveExcludedShareWindow(long window) override;
  void RemoveAllExcludedShareWindow() override;
  void AddIncludedShareWindow(long window) override;
  void RemoveIncludedShareWindow(long window) override;
  void RemoveAllIncludedShareWindow() override;

 private:
  class Run;

  void StopRun();
  void Log(int level, std::string_view text) const;
  // Makes the lists of windows hold for the running capture too.
  void TellOfWindows();

  const video::VideoContext context_;
  const ScreenSourceFactory make_source_;
  MainQueueChecker checker_;
  const std::shared_ptr<OutputWriters> outputs_ = std::make_shared<OutputWriters>();
  std::vector<long> excluded_;
  std::vector<long> included_;

  // What is told of a run ends with it; that it was stopped is told behind its end.
  ClientRelay<Client> relay_{"The client of a screen sharing"};
  ClientRelay<Client> stops_{"The client of a screen sharing"};
  std::shared_ptr<Run> run_;                // Null: nothing was started, or it was stopped.
  std::shared_ptr<SourceCapture> capture_;  // The last one, also when it is over.
  // Those before it, which may be in a writer still.
  std::vector<std::weak_ptr<SourceCapture>> leftovers_;
  std::shared_ptr<std::atomic<std::uint32_t>> delivered_;  // Of the last start.
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_SCREEN_SCREEN_SHARING_IMPL_H_
