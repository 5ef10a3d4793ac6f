// A screen capturer that captures nothing and remembers everything it was told.

#ifndef MOVRA_TESTING_SCREEN_SHARING_DOUBLE_H_
#define MOVRA_TESTING_SCREEN_SHARING_DOUBLE_H_

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "base/optional.h"
#include "testing/double.h"
#include "testing/world.h"
#include "video/screen_sharing.h"

namespace movra::testing {

class ScreenSharingDouble : public video::IScreenSharing, public Double {
 public:
  enum class State { kStopped, kDesktop, kMobile };

  ScreenSharingDouble(std::string name, std::shared_ptr<Journal> journal,
                      const video::VideoContext& context);

  // What its statistics are; what the answers said at first.
  std::uint32_t stat = World::Current().answers.screen_capture_stat;

  [[nodiscard]] const video::VideoContext& context() const { return context_; }
  // The client if it lives; events are raised by calling it.
  [[nodiscard]] std::shared_ptr<Client> client() const { return client_.lock(); }
  [[nodiscard]] State state() const { return state_; }
  [[nodiscard]] bool is_paused() const { return is_paused_; }
  [[nodiscard]] const auto& writers() const { return writers_; }
  // Of the last start or update; absent before.
  [[nodiscard]] const auto& desktop_params() const { return desktop_params_; }
  [[nodiscard]] const auto& mobile_params() const { return mobile_params_; }
  [[nodiscard]] const std::set<long>& excluded() const { return excluded_; }
  [[nodiscard]] const std::set<long>& included() const { return included_; }

  // video::IScreenSharing.
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
  const video::VideoContext context_;
  std::weak_ptr<Client> client_;
  State state_ = State::kStopped;
  bool is_paused_ = false;
  std::vector<std::shared_ptr<video::IPixelFrameTrackWriter>> writers_;
  movra_base::Optional<video::DesktopScreenParams> desktop_params_;
  movra_base::Optional<video::MobileScreenParams> mobile_params_;
  std::set<long> excluded_;
  std::set<long> included_;
};

}  // namespace movra::testing

#endif  // MOVRA_TESTING_SCREEN_SHARING_DOUBLE_H_
