#ifndef MOVRA_MEDIA_SCREEN_UNAVAILABLE_SCREEN_SHARING_H_
#define MOVRA_MEDIA_SCREEN_UNAVAILABLE_SCREEN_SHARING_H_

#include <cstdint>
#include <memory>

#include "video/screen_sharing.h"

namespace movra::media {

// Stands where screens cannot be captured: every call is safe, each start is answered on the main
// queue by the error kUnavailable, and the first one also by a line in the log. Main queue.
class UnavailableScreenSharing final : public video::IScreenSharing {
 public:
  explicit UnavailableScreenSharing(const video::VideoContext& context) : context_(context) {}

  // IScreenSharing
  void AddOutputWriter(std::shared_ptr<video::IPixelFrameTrackWriter> /*writer*/) override {}
  void RemoveOutputWriter(std::shared_ptr<video::IPixelFrameTrackWriter> /*writer*/) override {}
  void StartDesktopCapture(const video::DesktopScreenParams& params) override;
  void StartMobileCapture(const video::MobileScreenParams& params) override;
  void Stop() override {}
  void UpdateDesktopScreenParams(const video::DesktopScreenParams& /*params*/) override {}
  void UpdateMobileScreenParams(const video::MobileScreenParams& /*params*/) override {}
  void Pause() override {}
  void Resume() override {}
  void SetClient(std::shared_ptr<Client> client) override { client_ = client; }
  [[nodiscard]] std::uint32_t GetCaptureStat() override { return 0; }
  void AddExcludedShareWindow(long /*window*/) override {}
  void RemoveExcludedShareWindow(long /*window*/) override {}
  void RemoveAllExcludedShareWindow() override {}
  void AddIncludedShareWindow(long /*window*/) override {}
  void RemoveIncludedShareWindow(long /*window*/) override {}
  void RemoveAllIncludedShareWindow() override {}

 private:
  void ReportUnavailable(long source);

  const video::VideoContext context_;
  std::weak_ptr<Client> client_;
  bool is_reported_ = false;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_SCREEN_UNAVAILABLE_SCREEN_SHARING_H_
