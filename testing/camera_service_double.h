// A camera service without cameras: it lists what the test says, keeps the captures that were
// started, and answers their callbacks when the test says so.

#ifndef MOVRA_TESTING_CAMERA_SERVICE_DOUBLE_H_
#define MOVRA_TESTING_CAMERA_SERVICE_DOUBLE_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "base/optional.h"
#include "testing/double.h"
#include "testing/world.h"
#include "video/camera_service.h"

namespace movra::testing {

// The service registry makes it on the first look-up; a test that wants it before that calls
// Environment::MakeCameraService.
class CameraServiceDouble : public video::ICameraService,
                            public Double,
                            public std::enable_shared_from_this<CameraServiceDouble> {
 public:
  using StartedCallback = movra_base::OnceCallback<void(int, int)>;
  using StoppedCallback = movra_base::OnceCallback<void()>;
  using InfoCallback = movra_base::OnceCallback<void(video::CameraInfo)>;

  // What happens to a callback: kept until the test answers or drops it, destroyed unrun before
  // the operation returns, or run inside it (a start's with `start_error` and `start_ms`).
  enum class CallbackPolicy { kKeep, kDrop, kRun };

  struct Capture {
    int requester = 0;
    video::CameraParams params;
    std::shared_ptr<video::IPixelFrameTrackWriter> writer;
  };

  CameraServiceDouble(std::string name, std::shared_ptr<Journal> journal);

  // What its statistics are; what the answers said at first.
  std::uint32_t stat = World::Current().answers.camera_capture_stat;

  CallbackPolicy start_policy = CallbackPolicy::kKeep;
  CallbackPolicy stop_policy = CallbackPolicy::kKeep;
  int start_error = 0;
  int start_ms = 0;

  // The captures that run, in the order of their start.
  [[nodiscard]] const std::vector<Capture>& captures() const { return captures_; }
  // Of the last update; absent before.
  [[nodiscard]] const movra_base::Optional<video::CameraParams>& updated_params() const {
    return updated_params_;
  }

  // The kept callbacks, oldest first. Answering runs the oldest one and throws if there is none.
  [[nodiscard]] std::size_t waiting_starts() const { return starts_.size(); }
  [[nodiscard]] std::size_t waiting_stops() const { return stops_.size(); }
  void AnswerStart(int error, int elapsed_ms);
  void AnswerStop();
  void DropCallbacks();

  // video::ICameraService.
  [[nodiscard]] std::shared_ptr<video::ICameraService> GetSelf() override;
  void Init() override;
  void StartCapture(int requester, const video::CameraParams& params,
                    std::shared_ptr<video::IPixelFrameTrackWriter> writer,
                    StartedCallback&& on_started) override;
  void StopCapture(const video::CameraParams& params,
                   std::shared_ptr<video::IPixelFrameTrackWriter> writer,
                   StoppedCallback&& on_stopped) override;
  void UpdateCaptureParams(const video::CameraParams& params) override;
  [[nodiscard]] std::uint32_t GetCaptureStat(const video::CameraParams& params) override;
  void DescribeCamera(const std::string& camera_id, InfoCallback&& on_info) override;
  [[nodiscard]] bool IsAutoFocusEnabled() override;
  void FocusAtPoint(float x, float y) override;

 private:
  std::vector<Capture> captures_;
  movra_base::Optional<video::CameraParams> updated_params_;
  std::vector<StartedCallback> starts_;
  std::vector<StoppedCallback> stops_;
};

}  // namespace movra::testing

#endif  // MOVRA_TESTING_CAMERA_SERVICE_DOUBLE_H_
