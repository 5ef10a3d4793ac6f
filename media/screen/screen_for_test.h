// A capturer of screens with a client and a writer that remember.

#ifndef MOVRA_MEDIA_SCREEN_SCREEN_FOR_TEST_H_
#define MOVRA_MEDIA_SCREEN_SCREEN_FOR_TEST_H_

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "core/run_loop.h"
#include "media/screen/x11_desktop_for_test.h"
#include "media/threads/mutex.h"
#include "video/screen_sharing.h"

namespace movra::media {

// Writes down what it is told: "Started 42", "Stopped 42 kSourceClosed".
class ScreenClient final : public video::IScreenSharing::Client {
 public:
  void OnScreenSharingError(long source, video::VideoScreenSharingError error) override;
  void OnScreenSharingStarted(long source) override;
  void OnScreenSharingStopped(long source, video::VideoScreenSharingStoppedReason reason) override;
  void OnScreenSharingPaused(long source, video::VideoScreenSharingPausedReason reason) override;
  void OnScreenSharingResumed(long source, video::VideoScreenSharingResumedReason reason) override;
  void OnScreenSharingFirstFrame(long source, long long elapsed_ms) override;
  void OnWindowCovered(long source) override;
  void OnScreenSharingWindowSizeChanged(long source, const video::Size& size) override;
  void OnCapturerModeChange(long source, video::CapturerMode from, video::CapturerMode to) override;

  [[nodiscard]] const std::vector<std::string>& events() const { return events_; }
  [[nodiscard]] bool Heard(const std::string& event) const;
  void Forget() { events_.clear(); }

 private:
  void Add(const std::string& event, long source, const std::string& more = "");

  std::vector<std::string> events_;
};

// Keeps the last picture.
class ScreenWriter final : public video::IPixelFrameTrackWriter {
 public:
  video::TrackWriteResult Write(video::PixelFrame frame) override;

  [[nodiscard]] video::PixelFrame last() const;
  [[nodiscard]] std::uint64_t frames() const;
  // Every frame's size, in turn, without repetitions.
  [[nodiscard]] std::vector<video::Size> sizes() const;

 private:
  mutable Mutex mutex_;
  video::PixelFrame last_ MOVRA_GUARDED_BY(mutex_);
  std::uint64_t frames_ MOVRA_GUARDED_BY(mutex_) = 0;
  std::vector<video::Size> sizes_ MOVRA_GUARDED_BY(mutex_);
};

// 0xRRGGBB at that place; 0xFF000000 where the picture is empty or smaller.
[[nodiscard]] std::uint32_t ColorAt(const video::PixelFrame& frame, int x, int y);
// The same colour but for what a conversion to YUV and back loses.
[[nodiscard]] bool IsLike(std::uint32_t a, std::uint32_t b);

class ScreenTest : public ::testing::Test {
 protected:
  ScreenTest();
  ~ScreenTest() override;
  static void TearDownTestSuite();

  void SetUp() override { ASSERT_TRUE(desktop_->is_there()); }

  // Asks again and again while the main queue runs.
  [[nodiscard]] bool WaitFor(const std::function<bool()>& is_so);
  [[nodiscard]] bool WaitForEvent(const std::string& event) {
    return WaitFor([&] { return client_->Heard(event); });
  }
  // Until the last picture is of that colour there.
  [[nodiscard]] bool WaitForColor(int x, int y, std::uint32_t rgb) {
    return WaitFor([&] { return IsLike(ColorAt(writer_->last(), x, y), rgb); });
  }
  // The server ends, as if it had crashed.
  void KillDesktop();
  // Starts without the cursor unless told otherwise.
  void Start(long source, video::DesktopScreenParams params = {});

  const std::shared_ptr<core::RunLoop> main_ = std::make_shared<core::RunLoop>();
  // One for all tests, but for what comes behind KillDesktop.
  X11Desktop* const desktop_;
  const std::shared_ptr<ScreenClient> client_ = std::make_shared<ScreenClient>();
  const std::shared_ptr<ScreenWriter> writer_ = std::make_shared<ScreenWriter>();
  std::shared_ptr<video::IScreenSharing> sharing_;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_SCREEN_SCREEN_FOR_TEST_H_
