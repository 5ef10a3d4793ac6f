#ifndef MOVRA_MEDIA_CAMERA_CAMERA_SERVICE_FOR_TEST_H_
#define MOVRA_MEDIA_CAMERA_CAMERA_SERVICE_FOR_TEST_H_

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "base/once_callback.h"
#include "core/dispatch_queue.h"
#include "core/notification_center.h"
#include "core/run_loop.h"
#include "media/camera/camera_service_impl.h"
#include "media/capture/camera_error.h"
#include "media/capture/capture_for_test.h"
#include "media/temporary_directory_for_test.h"

namespace movra::media {

inline int Code(CameraError error) { return static_cast<int>(error); }

inline video::CameraParams Params(const std::string& id) {
  video::CameraParams params;
  params.camera_id = id;
  return params;
}

inline video::VideoDeviceInfo Device(const std::string& id) {
  video::VideoDeviceInfo device;
  device.device_id = id;
  return device;
}

// A main queue whose delays are over when the test says so.
class PatientLoop final : public core::RunLoop {
 public:
  void PostDelayed(core::Task task, std::chrono::nanoseconds delay) override {
    EXPECT_GT(delay.count(), 0);
    delayed_.push_back(std::move(task));
  }
  void RunFirst() {
    std::move(delayed_.front()).Run();
    delayed_.pop_front();
  }

 private:
  std::deque<core::Task> delayed_;
};

// The cameras that there are; shared with the service's threads, which may outlive a test.
class Cameras {
 public:
  void Add(const std::string& id, std::shared_ptr<SourceScript> script) {
    const std::lock_guard lock(mutex_);
    scripts_[id] = std::move(script);
  }
  std::unique_ptr<FrameSource> Make(const std::string& id) {
    const std::lock_guard lock(mutex_);
    made_.push_back(id);
    changed_.notify_all();
    const auto script = scripts_.find(id);
    if (script == scripts_.end()) return nullptr;
    return std::make_unique<ScriptedSource>(script->second);
  }
  // The ids that sources were made for, once there are so many.
  [[nodiscard]] std::vector<std::string> WaitUntilMade(std::size_t count) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return made_.size() >= count; });
    return made_;
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  // All guarded by mutex_.
  std::map<std::string, std::shared_ptr<SourceScript>> scripts_;
  std::vector<std::string> made_;
};

// Whatever is waited for is there at once.
class HastyClock final : public CaptureClock {
 public:
  [[nodiscard]] TimePoint Now() const override { return TimePoint(now_.load()); }
  void WaitUntil(std::unique_lock<std::mutex>& /*lock*/, std::condition_variable& /*wake*/,
                 TimePoint deadline) const override {
    now_ = deadline.time_since_epoch();
  }

 private:
  mutable std::atomic<TimePoint::duration> now_{std::chrono::hours(1)};
};

class CameraServiceTest : public ::testing::Test {
 protected:
  CameraServiceTest() {
    core::SetMainQueue(loop_);
    CameraServiceParts parts;
    parts.make_source = [cameras = cameras_](const std::string& id) { return cameras->Make(id); };
    parts.list_devices = [this] { return devices_; };
    parts.device_directory = directory_.path().string();
    parts_ = std::move(parts);
    service_ = std::make_shared<CameraServiceImpl>(parts_);
  }

  ~CameraServiceTest() override {
    service_.reset();
    core::NotificationCenter::GetInstance().Clear();
    core::SetMainQueue(nullptr);
  }

  void Start(const video::CameraParams& params,
             std::shared_ptr<video::IPixelFrameTrackWriter> writer) {
    service_->StartCapture(1, params, std::move(writer),
                           movra_base::BindOnce([this](int code, int elapsed_ms) {
                             EXPECT_GE(elapsed_ms, 0);
                             answers_.push_back(code);
                             if (quit_after_answer_) loop_->Quit();
                           }));
  }

  void Stop(const video::CameraParams& params,
            std::shared_ptr<video::IPixelFrameTrackWriter> writer) {
    service_->StopCapture(params, std::move(writer), movra_base::BindOnce([this] { ++stopped_; }));
  }

  // A camera of this script.
  std::shared_ptr<SourceScript> Add(const std::string& id, std::shared_ptr<SourceScript> script) {
    cameras_->Add(id, script);
    return script;
  }

  video::CameraInfo Describe(const std::string& id) {
    video::CameraInfo info;
    service_->DescribeCamera(id, movra_base::BindOnce([&](video::CameraInfo found) {
                               info = std::move(found);
                               loop_->Quit();
                             }));
    loop_->Run();
    return info;
  }

  void UseClock(std::shared_ptr<const CaptureClock> clock) {
    parts_.clock = std::move(clock);
    service_ = std::make_shared<CameraServiceImpl>(parts_);
  }

  // Runs the main queue, again and again, until what other threads do has come about.
  template <class Condition>
  void RunUntilIdleAnd(Condition condition) {
    while (!condition()) {
      loop_->RunUntilIdle();
      std::this_thread::yield();
    }
  }

  // Runs the main queue until the next answer of a start.
  void RunUntilAnswered() {
    quit_after_answer_ = true;
    loop_->Run();
    quit_after_answer_ = false;
  }

  std::shared_ptr<PatientLoop> loop_ = std::make_shared<PatientLoop>();
  const TemporaryDirectory directory_;
  const std::shared_ptr<Cameras> cameras_ = std::make_shared<Cameras>();
  std::vector<video::VideoDeviceInfo> devices_;
  CameraServiceParts parts_;
  std::shared_ptr<CameraServiceImpl> service_;
  std::shared_ptr<CollectingWriter> writer_ = std::make_shared<CollectingWriter>();
  std::vector<int> answers_;
  int stopped_ = 0;
  bool quit_after_answer_ = false;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_CAMERA_CAMERA_SERVICE_FOR_TEST_H_
