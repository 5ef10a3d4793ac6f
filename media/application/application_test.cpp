#include "media/application/application.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "core/notification_center.h"
#include "core/service_center.h"
#include "logging/recording_sink_for_test.h"
#include "media/camera/camera_service_impl.h"
#include "video/camera_service.h"

namespace movra::media {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr char kWatch[] = "device-watch";

// The names of the process's threads. One that was joined may stand there for a moment longer.
std::vector<std::string> Threads() {
  std::vector<std::string> names;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task", error)) {
    std::string name;
    std::getline(std::ifstream(entry.path() / "comm"), name);
    names.push_back(name);
  }
  return names;
}

void WaitUntilNoThreadIsNamed(const std::string& name) {
  const auto is_there = [&] {
    const std::vector<std::string> names = Threads();
    return std::find(names.begin(), names.end(), name) != names.end();
  };
  while (is_there()) std::this_thread::yield();
}

sigset_t BlockedSignals() {
  sigset_t blocked;
  pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
  return blocked;
}

// A camera service that watches a directory, as the process's own watches /dev.
void WatchDevices() {
  CameraServiceParts parts;
  parts.list_devices = [] { return std::vector<video::VideoDeviceInfo>(); };
  parts.device_directory = "/";
  const auto service = std::make_shared<CameraServiceImpl>(parts);
  service->Init();
  core::ServiceCenter::Instance().SetService(video::kCameraServiceId, service);
}

TEST(Application, ItsQueueIsTheMainQueueForAsLongAsItLives) {
  {
    const Application app;
    EXPECT_EQ(core::GetMainQueue(), app.main_queue());
  }
  const movra_logging::RecordingSink log;
  core::GetMainQueue()->Post(movra_base::BindOnce([] {}));
  EXPECT_THAT(log.texts(), Not(IsEmpty())) << "there is none any more";
}

TEST(Application, TheQueueThatWasThereBeforeIsThereAgain) {
  const auto before = std::make_shared<core::RunLoop>();
  core::SetMainQueue(before);
  { const Application app; }
  EXPECT_EQ(core::SetMainQueue(nullptr), before);
}

TEST(Application, RunsTheQueueUntilItIsToldToQuitWithoutAFailure) {
  Application app;
  std::vector<int> ran;
  app.main_queue()->Post(movra_base::BindOnce([&] { ran.push_back(1); }));
  app.main_queue()->Post(movra_base::BindOnce([&] { app.Quit(); }));
  app.main_queue()->Post(movra_base::BindOnce([&] { ran.push_back(2); }));
  app.Run();
  EXPECT_THAT(ran, ElementsAre(1));
  EXPECT_EQ(app.failure(), "");
}

TEST(Application, KeepsTheFirstFailureWheneverItComes) {
  Application app;
  app.Quit();
  app.Run();
  EXPECT_EQ(app.failure(), "");
  std::thread([&] { app.Quit("disk full"); }).join();
  app.Quit("too late");
  app.Quit();
  EXPECT_EQ(app.failure(), "disk full");
}

TEST(Application, FinishTellsTheFailureAndIsTheExitCode) {
  Application app;
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(app.Finish(), 0);
  app.Quit("disk full");
  EXPECT_EQ(app.Finish(), 1);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "disk full\n");
}

TEST(Application, ASignalEndsTheRunAndIsNoFailure) {
  for (const int number : {SIGINT, SIGTERM}) {
    Application app;
    kill(getpid(), number);
    app.Run();
    EXPECT_EQ(app.failure(), "");
  }
}

TEST(Application, HoldsSignalsBackForAsLongAsItLives) {
  const sigset_t before = BlockedSignals();
  {
    const Application app;
    const sigset_t blocked = BlockedSignals();
    EXPECT_EQ(sigismember(&blocked, SIGINT), 1);
    EXPECT_EQ(sigismember(&blocked, SIGTERM), 1);
  }
  const sigset_t after = BlockedSignals();
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
    EXPECT_EQ(sigismember(&after, number), sigismember(&before, number));
  }
}

TEST(Application, NoThreadOfAServiceOutlivesIt) {
  {
    const Application app;
    WatchDevices();
    while (!::testing::Value(Threads(), Contains(kWatch))) std::this_thread::yield();
  }
  WaitUntilNoThreadIsNamed(kWatch);
}

// Posts and looks at the queue when it ends.
class LastWords {
 public:
  explicit LastWords(std::vector<std::string>& told) : told_(told) {}
  ~LastWords() {
    told_.push_back(core::NotificationCenter::GetInstance().HasKey(core::NotificationId{9000}, "")
                        ? "subscriptions are there"
                        : "subscriptions are gone");
    core::GetMainQueue()->Post(movra_base::BindOnce([this] { told_.push_back("run"); }));
  }
  std::shared_ptr<LastWords> GetSelf() { return nullptr; }
  void Init() {}

 private:
  std::vector<std::string>& told_;
};

TEST(Application, ServicesEndBeforeSubscriptionsAndBothBeforeTheQueue) {
  const movra_logging::RecordingSink log;
  std::vector<std::string> told;
  {
    const Application app;
    core::ServiceCenter::Instance().SetService(core::ServiceId{9000},
                                               std::make_shared<LastWords>(told));
    core::NotificationCenter::GetInstance().SubscribeEvent<std::function<void()>>(
        core::NotificationId{9000}, "", core::Location(__FILE__, __LINE__), {}, [] {});
  }
  EXPECT_THAT(told, ElementsAre("subscriptions are there"));
  EXPECT_FALSE(core::NotificationCenter::GetInstance().HasKey(core::NotificationId{9000}, ""));
  EXPECT_THAT(log.texts(), IsEmpty()) << "nothing was posted to a queue that is not there";
}

TEST(Application, TasksThatAreLeftAreDestroyedUnrun) {
  const auto held = std::make_shared<bool>(false);
  {
    const Application app;
    app.main_queue()->Post(movra_base::BindOnce([held] { *held = true; }));
  }
  EXPECT_EQ(held.use_count(), 1);
  EXPECT_FALSE(*held);
}

}  // namespace
}  // namespace movra::media
