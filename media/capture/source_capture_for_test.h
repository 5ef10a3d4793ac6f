// A capture with a source by script, in front of clocks that nobody waits for.

#ifndef MOVRA_MEDIA_CAPTURE_SOURCE_CAPTURE_FOR_TEST_H_
#define MOVRA_MEDIA_CAPTURE_SOURCE_CAPTURE_FOR_TEST_H_

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <utility>
#include <vector>

#include "media/capture/camera_error.h"
#include "media/capture/capture_for_test.h"
#include "media/capture/source_capture.h"

namespace movra::media {

// Time jumps to whatever is waited for.
class JumpingClock final : public CaptureClock {
 public:
  [[nodiscard]] TimePoint Now() const override { return now_; }
  void WaitUntil(std::unique_lock<std::mutex>& /*lock*/, std::condition_variable& /*wake*/,
                 TimePoint deadline) const override {
    waits_.push_back(deadline - start_);
    now_ = deadline;
  }
  [[nodiscard]] const std::vector<std::chrono::nanoseconds>& waits() const { return waits_; }

 private:
  const TimePoint start_ = TimePoint() + std::chrono::hours(1);
  mutable TimePoint now_ = start_;
  mutable std::vector<std::chrono::nanoseconds> waits_;
};

// Time stands still, and a wait ends only when it is woken.
class StandingClock final : public CaptureClock {
 public:
  [[nodiscard]] TimePoint Now() const override { return TimePoint() + std::chrono::hours(1); }
  void WaitUntil(std::unique_lock<std::mutex>& lock, std::condition_variable& wake,
                 TimePoint /*deadline*/) const override {
    waiting_ = true;
    waiting_.notify_all();
    wake.wait(lock);
  }
  void WaitUntilWaiting() const { waiting_.wait(false); }

 private:
  mutable std::atomic<bool> waiting_ = false;
};

class SourceCaptureTest : public ::testing::Test {
 protected:
  ~SourceCaptureTest() override {
    if (capture_ != nullptr) StopAndWait(*capture_);
  }

  // Of the camera "cam:".
  SourceCapture& MakeOf(SourceCapture::MakeSource make_source,
                        std::shared_ptr<video::IPixelFrameTrackWriter> writer,
                        const CaptureRequest& request = {}) {
    capture_ =
        std::make_shared<SourceCapture>(SourceCapture::Camera{"cam:", std::move(make_source)},
                                        std::move(writer), request, clock_, delivered_);
    return *capture_;
  }

  SourceCapture& MakeInto(std::shared_ptr<video::IPixelFrameTrackWriter> writer,
                          std::shared_ptr<SourceScript> script,
                          const CaptureRequest& request = {}) {
    return MakeOf(movra_base::BindOnce(
                      [script = std::move(script)]() mutable -> std::unique_ptr<FrameSource> {
                        return std::make_unique<ScriptedSource>(std::move(script));
                      }),
                  std::move(writer), request);
  }
  SourceCapture& Make(std::shared_ptr<SourceScript> script) {
    return MakeInto(writer_, std::move(script));
  }

  SourceCapture& StartInto(std::shared_ptr<video::IPixelFrameTrackWriter> writer,
                           std::shared_ptr<SourceScript> script,
                           const CaptureRequest& request = {}) {
    EXPECT_TRUE(MakeInto(std::move(writer), std::move(script), request).Start(Opened()));
    return *capture_;
  }
  SourceCapture& Start(std::shared_ptr<SourceScript> script, const CaptureRequest& request = {}) {
    return StartInto(writer_, std::move(script), request);
  }

  [[nodiscard]] SourceCapture::OpenedCallback Opened() const {
    return [opened = opened_](const video::CameraInfo& info) { *opened = info.error_code; };
  }

  // With all that the capture's thread may still do.
  static void StopAndWait(SourceCapture& capture) {
    capture.Stop();
    WaitFor(capture.camera_let_go());
  }

  static std::vector<std::uint64_t> SequencesOf(const std::vector<video::PixelFrame>& frames) {
    std::vector<std::uint64_t> sequences;
    for (const video::PixelFrame& frame : frames) sequences.push_back(frame.info().sequence);
    return sequences;
  }

  static std::vector<int> NumbersOf(const std::vector<video::PixelFrame>& frames) {
    std::vector<int> numbers;
    for (const video::PixelFrame& frame : frames) numbers.push_back(frame.info().planes[0].data[0]);
    return numbers;
  }

  std::shared_ptr<CollectingWriter> writer_ = std::make_shared<CollectingWriter>();
  std::shared_ptr<const CaptureClock> clock_ = std::make_shared<CaptureClock>();
  std::shared_ptr<std::atomic<std::uint32_t>> delivered_ =
      std::make_shared<std::atomic<std::uint32_t>>(0);
  std::shared_ptr<std::atomic<int>> opened_ = std::make_shared<std::atomic<int>>(-1);
  std::shared_ptr<SourceCapture> capture_;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_CAPTURE_SOURCE_CAPTURE_FOR_TEST_H_
