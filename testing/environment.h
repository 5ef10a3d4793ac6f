// Everything that a test of the producer stands on, for one scope.
//
// It installs a main queue that tells of its checks, simulated task queues, a log sink and a world
// for the doubles, starts with empty registries, and puts everything back when it ends. All of it
// writes into one journal, so a test is: arrange, clear, act, compare the list.
//
//   TEST(StopCapture, WhileStoppedLogsAlreadyStopAndDropsTheCallback) {
//     Environment env;
//     env.journal().LeaveOut(Journal::kDetails);
//     const auto producer = std::make_shared<VideoProducer2Impl>(context, client, stream_type);
//     env.journal().Clear();
//     producer->StopCapture(env.Callback<void()>("on_stopped"));
//     EXPECT_THAT(env.journal().Take(),
//                 ElementsAre("log(0) [trace:7][call][main] Stop capture with source type:kNone",
//                             "log(0) [trace:7][call][main] Already stop.", "~on_stopped"));
//   }
//
//   TEST(StartCapture, GoesOnWithoutACameraService) {
//     Environment env;
//     env.LoseCameraService();
//     ...
//   }
//
//   TEST(RendererEvents, ReachTheClient) {
//     ...
//     env.world().renderers.Last().client()->OnRenderError(VideoRenderError::kViewLost);
//     EXPECT_THAT(env.journal().Take(), ElementsAre("client.OnRenderError(unnamed, 2)"));
//   }
//
// Journal::kDetails, which most tests leave out, are the checks of the main queue, GetReader and
// GetWriter, subscriptions, and the ends of queues and of what tracks consist of.

#ifndef MOVRA_TESTING_ENVIRONMENT_H_
#define MOVRA_TESTING_ENVIRONMENT_H_

#include <memory>
#include <string>
#include <utility>

#include "base/once_callback.h"
#include "core/dispatch_queue.h"
#include "core/thread_manager.h"
#include "testing/camera_service_double.h"
#include "testing/journal.h"
#include "testing/log_capture.h"
#include "testing/owned_probe.h"
#include "testing/simulated_queue.h"
#include "testing/world.h"

namespace movra::testing {

// One at a time, on the thread that runs the test.
class Environment {
 public:
  Environment();
  ~Environment();
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;

  [[nodiscard]] World& world() { return world_; }
  [[nodiscard]] Journal& journal() { return *world_.journal(); }
  [[nodiscard]] LogCapture& log() { return log_; }
  [[nodiscard]] SimulatedQueue& main_queue() { return *main_queue_; }
  [[nodiscard]] SimulatedClock& clock() { return *clock_; }

  // Makes a double that takes a name and the journal, such as FrameWriterDouble.
  template <class T>
  [[nodiscard]] std::shared_ptr<T> Make(std::string name) {
    return std::make_shared<T>(std::move(name), world_.journal());
  }

  // A callback that tells of its run and of its end.
  template <class Signature>
  [[nodiscard]] movra_base::OnceCallback<Signature> Callback(std::string name) {
    return MakeCallback<Signature>(std::move(name), world_.journal());
  }

  // Makes and registers the camera service as the first look-up would.
  CameraServiceDouble& MakeCameraService();
  // Takes the camera service away, and no new one is made.
  void LoseCameraService();

 private:
  World world_;
  const std::shared_ptr<SimulatedClock> clock_ = std::make_shared<SimulatedClock>();
  const std::shared_ptr<SimulatedQueue> main_queue_;
  LogCapture log_;
  const std::shared_ptr<core::DispatchQueue> previous_main_queue_;
  const core::ThreadManager::QueueFactory previous_queue_factory_;
  const int previous_min_log_level_;
  const bool previous_value_filtering_;
};

}  // namespace movra::testing

#endif  // MOVRA_TESTING_ENVIRONMENT_H_
