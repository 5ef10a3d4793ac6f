#ifndef MOVRA_MEDIA_SCREEN_UNAVAILABLE_SCREEN_SHARING_H_
#define MOVRA_MEDIA_SCREEN_UNAVAILABLE_SCREEN_SHARING_H_

#include <cstdint>
#include <memory>

#include "media/main_queue/client_relay.h"
#include "media/main_queue/main_queue_checker.h"
#include "video/screen_sharing.h"

namespace movra::media {

// Stands where screens cannot be captured: every call is safe, each start is answered on the main
// queue by the error kUnavailable, and the first one also by a line in the log. Main queue.
class UnavailableScreenSharing final : public video::IScreenSharing {
 public:
  explicit UnavailableScreenSharing(const video::VideoContext& context)
      : context_(context), checker_("a screen sharing", context) {}

  // IScreenSharing
  void AddOutputWriter(std::shared_ptr<video::IPixelFrameTrackWriter> /*writer*/) override {
    checker_.Check();
  }
  void RemoveOutputWriter(std::shared_ptr<video::IPixelFrameTrackWriter> /*writer*/) override {
    checker_.Check();
  }
  void StartDesktopCapture(const video::DesktopScreenParams& params) override;
  void StartMobileCapture(const video::MobileScreenParams& params) override;
  void Stop() override;
  void UpdateDesktopScreenParams(const video::DesktopScreenParams& /*params*/) override {
    checker_.Check();
  }
  void UpdateMobileScreenParams(const video::MobileScreenParams& /*params*/) override {
    checker_.Check();
  }
  void Pause() override { checker_.Check(); }
  void Resume() override { checker_.Check(); }
  void SetClient(std::shared_ptr<Client> client) override;
  [[nodiscard]] std::uint32_t GetCaptureStat() override;
  void AddExcludedShareWindow(long /*window*/) override { checker_.Check(); }
  void RemoveExcludedShareWindow(long /*window*/) override { checker_.Check(); }
  void RemoveAllExcludedShareWindow() override { checker_.Check(); }
  void AddIncludedShareWindow(long /*window*/) override { checker_.Check(); }
  void RemoveIncludedShareWindow(long /*window*/) override { checker_.Check(); }
  void RemoveAllIncludedShareWindow() override { checker_.Check(); }

 private:
  void ReportUnavailable(long source);

  const video::VideoContext context_;
  MainQueueChecker checker_;
  ClientRelay<Client> relay_{"The client of a screen sharing"};
  bool is_reported_ = false;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_SCREEN_UNAVAILABLE_SCREEN_SHARING_H_
