#include "testing/environment.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "core/notification_center.h"
#include "core/service_center.h"
#include "logging/log_filter.h"
#include "logging/log_message.h"
#include "logging/log_stream.h"
#include "testing/application_doubles.h"
#include "testing/track_double.h"
#include "video/camera_service.h"

namespace movra::testing {
namespace {

using ::testing::ElementsAre;

constexpr core::BusinessID kShared{304};

std::shared_ptr<core::DispatchQueue> GetQueue(unsigned long key) {
  return core::ThreadManager::GetTaskQueue(kShared, key, {});
}

std::shared_ptr<video::ICameraService> FindCameraService() {
  std::shared_ptr<video::ICameraService> service;
  core::ServiceCenter::Instance().GetService(video::kCameraServiceId, service);
  return service;
}

TEST(Environment, InstallsItsMainQueueAndTakesItAway) {
  const auto before = core::GetMainQueue();
  {
    Environment env;
    EXPECT_EQ(core::GetMainQueue().get(), &env.main_queue());
    EXPECT_TRUE(core::GetMainQueue()->IsCurrent());
    EXPECT_THAT(env.journal().Take(), ElementsAre("main_queue.IsCurrent()"));
  }
  EXPECT_EQ(core::GetMainQueue(), before);
}

TEST(Environment, RecordsWhatIsAskedOfTheThreadManager) {
  Environment env;
  const auto queue = GetQueue(5);
  core::ThreadOption option;
  option.name = "name";
  const auto other = core::ThreadManager::GetTaskQueue(kShared, 6, option);
  EXPECT_THAT(env.journal().Take(), ElementsAre("ThreadManager.GetTaskQueue(304, 5, absent)",
                                                "ThreadManager.GetTaskQueue(304, 6, name)"));
  ASSERT_EQ(env.world().queue_requests.size(), 2u);
  const QueueRequest& request = env.world().queue_requests[0];
  EXPECT_EQ(request.business, kShared);
  EXPECT_EQ(request.key, 5u);
  EXPECT_FALSE(request.has_option);
  EXPECT_EQ(request.queue.lock(), queue);
  EXPECT_TRUE(env.world().queue_requests[1].has_option);
  EXPECT_NE(queue, other);
}

TEST(Environment, GivesTheSameTaskQueueForTheSamePairWhileSomebodyUsesIt) {
  Environment env;
  auto queue = GetQueue(5);
  EXPECT_EQ(GetQueue(5), queue);
  const std::weak_ptr<core::DispatchQueue> gone = queue;
  queue.reset();
  EXPECT_TRUE(gone.expired());
}

TEST(Environment, LeavesTheThreadManagerItsOwnQueuesAgain) {
  { const Environment env; }
  EXPECT_EQ(dynamic_cast<SimulatedQueue*>(GetQueue(5).get()), nullptr);
}

TEST(Environment, PutsLogLinesIntoTheJournal) {
  Environment env;
  LogStream("file", 1, "Function", 0, nullptr) << "Initialize";
  EXPECT_THAT(env.journal().Take(), ElementsAre("log(0) Initialize"));
  EXPECT_EQ(env.log().Take().size(), 1u);
}

TEST(Environment, PutsTheLogSettingsBack) {
  {
    const Environment env;
    movra_logging::SetMinLogLevel(movra_logging::kLogLevelOff);
    SetLogValueFiltering(true);
  }
  EXPECT_EQ(movra_logging::MinLogLevel(), movra_logging::kLogLevelInfo);
  EXPECT_FALSE(LogValueFiltering());
  EXPECT_FALSE(movra_logging::ShouldCreateLogMessage(0));
}

TEST(Environment, StartsAndEndsWithEmptyRegistries) {
  const auto subscribe = [] {
    core::NotificationCenter::GetInstance().SubscribeEvent<std::function<void()>>(
        core::NotificationId{1}, "", core::Location("file", 1), {}, [] {});
  };
  const auto subscribed = [] {
    return core::NotificationCenter::GetInstance().HasKey(core::NotificationId{1}, "");
  };
  subscribe();
  std::weak_ptr<video::ICameraService> service;
  {
    const Environment env;
    EXPECT_FALSE(subscribed());
    subscribe();
    service = FindCameraService();
    EXPECT_FALSE(service.expired());
  }
  EXPECT_FALSE(subscribed());
  EXPECT_TRUE(service.expired());
}

TEST(Environment, DropsTheTasksThatAreLeftWhileTheJournalStillListens) {
  const auto journal = [] {
    Environment env;
    env.main_queue().Post(env.Callback<void()>("task"));
    return env.world().journal();
  }();
  EXPECT_THAT(journal->Take(), ElementsAre("~task", "~main_queue"));
}

TEST(Environment, ShowsTheServiceRegistryAtWork) {
  Environment env;
  EXPECT_NE(FindCameraService(), nullptr);
  EXPECT_NE(FindCameraService(), nullptr);
  EXPECT_EQ(env.journal().Count(Journal::kLookup), 4u);
  EXPECT_THAT(env.journal().Take(),
              ElementsAre("MakeService<ICameraService>()", "camera_service.Init()",
                          "camera_service.GetSelf()", "camera_service.GetSelf()"));
}

TEST(Environment, MakesTheCameraServiceBeforeItsFirstUse) {
  Environment env;
  CameraServiceDouble& service = env.MakeCameraService();
  EXPECT_EQ(FindCameraService().get(), &service);
  EXPECT_EQ(env.world().camera_services.count(), 1u);
}

TEST(Environment, LosesTheCameraServiceForGood) {
  Environment env;
  env.MakeCameraService();
  env.LoseCameraService();
  EXPECT_EQ(FindCameraService(), nullptr);
  EXPECT_FALSE(env.world().camera_services.IsAlive(0));
}

TEST(Environment, MakesDoublesThatTellOfThemselves) {
  Environment env;
  auto writer = env.Make<FrameWriterDouble>("tap");
  static_cast<void>(writer->Write({}));
  writer.reset();
  EXPECT_THAT(env.journal().Take(), ElementsAre("tap.Write(no frame)", "~tap"));
}

TEST(World, IsNeededByTheFactories) {
  EXPECT_THROW(static_cast<void>(video::IPixelFrameTrack::Create("track", 1)), std::logic_error);
}

TEST(World, ExistsOnceAtATime) {
  World world;
  EXPECT_EQ(&World::Current(), &world);
  EXPECT_THROW(World(), std::logic_error);
  EXPECT_EQ(&World::Current(), &world);
}

TEST(World, NumbersTheSecondAndLaterTakersOfAName) {
  World world;
  EXPECT_EQ(world.UniqueName("track"), "track");
  EXPECT_EQ(world.UniqueName("track"), "track#2");
  EXPECT_EQ(world.UniqueName("other"), "other");
  EXPECT_EQ(world.UniqueName("track"), "track#3");
}

TEST(World, ForgetsTheNamesOfObjectsAtItsEnd) {
  struct Object {
    virtual ~Object() = default;
  } object;
  {
    const World world;
    SetNameOf(object, "object");
    EXPECT_EQ(NameOf(&object), "object");
  }
  EXPECT_EQ(NameOf(&object), "unnamed");
}

TEST(World, FindsTracksByNameTheNewestFirst) {
  World world;
  const auto first = video::IPixelFrameTrack::Create("track", 1);
  auto second = video::IPixelFrameTrack::Create("track", 1);
  EXPECT_EQ(&world.Track("track"), second.get());
  second.reset();
  EXPECT_EQ(&world.Track("track"), first.get());
  EXPECT_THROW(static_cast<void>(world.Track("other")), std::logic_error);
}

TEST(Made, KnowsWhatWasMadeWithoutKeepingItAlive) {
  Made<int> made;
  EXPECT_THROW(static_cast<void>(made.Last()), std::logic_error);
  auto first = std::make_shared<int>(1);
  const auto second = std::make_shared<int>(2);
  made.Add(first);
  made.Add(second);
  EXPECT_EQ(made.count(), 2u);
  EXPECT_EQ(made.At(0), 1);
  EXPECT_EQ(made.Last(), 2);
  first.reset();
  EXPECT_EQ(made.count(), 2u);
  EXPECT_EQ(made.CountAlive(), 1u);
  EXPECT_FALSE(made.IsAlive(0));
  EXPECT_EQ(made.Find(0), nullptr);
  EXPECT_THROW(static_cast<void>(made.At(0)), std::logic_error);
}

}  // namespace
}  // namespace movra::testing
