#include "media/camera/camera_service_impl.h"

#include <filesystem>
#include <fstream>
#include <functional>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/no_more_threads_for_test.h"
#include "core/service_center.h"
#include "logging/log_sink.h"
#include "media/camera/camera_service_for_test.h"
#include "media/camera/frame_marker.h"
#include "media/main_queue/off_the_main_queue_for_test.h"

namespace movra::media {
namespace {

namespace fs = std::filesystem;
using movra_base::BindOnce;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using video::CameraDeviceState;
using video::PixelFrame;
using video::VideoDeviceInfo;

TEST_F(CameraServiceTest, AnswersAStartOnTheMainQueueWhenTheCameraIsOpen) {
  Add("a", MakeScript(3));
  Start(Params("a"), writer_);
  writer_->WaitForEnd();
  EXPECT_THAT(answers_, IsEmpty());
  RunUntilAnswered();
  EXPECT_THAT(answers_, ElementsAre(0));
  EXPECT_THAT(writer_->frames(), SizeIs(3));
}

TEST_F(CameraServiceTest, AnswersAStartWithTheErrorOfTheSource) {
  const auto a = Add("a", MakeScript(3));
  a->info.error_code = Code(CameraError::kNotAVideo);
  Start(Params("a"), writer_);
  RunUntilAnswered();
  EXPECT_THAT(answers_, ElementsAre(Code(CameraError::kNotAVideo)));
}

TEST_F(CameraServiceTest, AnswersAStartOfAnUnknownCamera) {
  Start(Params("nonsense"), writer_);
  EXPECT_THAT(answers_, IsEmpty());
  RunUntilAnswered();
  EXPECT_THAT(answers_, ElementsAre(Code(CameraError::kNoSuchCamera)));
  Stop(Params("nonsense"), writer_);
  loop_->RunUntilIdle();
  EXPECT_EQ(stopped_, 1);
  const video::CameraInfo info = Describe("nonsense");
  EXPECT_THAT(info.error_text, HasSubstr("'nonsense'"));
  EXPECT_EQ(info.error_code, Code(CameraError::kNoSuchCamera));
}

TEST_F(CameraServiceTest, AnswersAStartThatIsStoppedWhileItOpensOnceAsCancelled) {
  const auto a = Add("a", MakeScript(3));
  a->open_waits = true;
  Start(Params("a"), writer_);
  a->WaitUntilWaiting();
  Stop(Params("a"), writer_);
  EXPECT_THAT(answers_, IsEmpty());
  loop_->RunUntilIdle();
  EXPECT_THAT(answers_, ElementsAre(Code(CameraError::kCancelled)));
  EXPECT_EQ(stopped_, 1);
  EXPECT_THAT(writer_->frames(), IsEmpty());
}

TEST_F(CameraServiceTest, AnswersAStartOnceThatIsStoppedBeforeItsAnswerHasItsTurn) {
  Add("a", MakeScript(3));
  Start(Params("a"), writer_);
  writer_->WaitForEnd();  // The answer has been posted by now.
  Stop(Params("a"), writer_);
  loop_->RunUntilIdle();
  EXPECT_THAT(answers_, ElementsAre(Code(CameraError::kCancelled)));
}

TEST_F(CameraServiceTest, DoesNotTakeTheAnswerOfAnEarlierStartForThatOfALaterOne) {
  Add("a", MakeScript(1));
  const auto b = Add("b", MakeScript(1));
  b->open_waits = true;
  Start(Params("a"), writer_);
  writer_->WaitForEnd();
  Stop(Params("a"), writer_);
  Start(Params("b"), writer_);
  loop_->RunUntilIdle();
  EXPECT_THAT(answers_, ElementsAre(Code(CameraError::kCancelled)));
  Stop(Params("b"), writer_);
  loop_->RunUntilIdle();
  EXPECT_THAT(answers_, ElementsAre(Code(CameraError::kCancelled), Code(CameraError::kCancelled)));
}

TEST_F(CameraServiceTest, StopsByTheWriterWhateverCameraIsNamed) {
  const auto a = Add("a", MakeScript(1));
  a->items.pop_back();
  Start(Params("a"), writer_);
  a->WaitUntilWaiting();
  Stop(Params("another"), writer_);
  EXPECT_TRUE(a->interrupted);
}

TEST_F(CameraServiceTest, AnswersAStopOfWhatDoesNotRun) {
  Stop(Params("a"), writer_);
  EXPECT_EQ(stopped_, 0);
  loop_->RunUntilIdle();
  EXPECT_EQ(stopped_, 1);
}

TEST_F(CameraServiceTest, AnAnswerMayStopItsOwnCapture) {
  Add("a", MakeScript(1));
  service_->StartCapture(1, Params("a"), writer_, BindOnce([this](int code, int /*elapsed_ms*/) {
                           answers_.push_back(code);
                           Stop(Params("a"), writer_);
                           loop_->Quit();
                         }));
  loop_->Run();
  loop_->RunUntilIdle();
  EXPECT_THAT(answers_, ElementsAre(0));
  EXPECT_EQ(stopped_, 1);
}

TEST_F(CameraServiceTest, EndsBeforeASourceThatDoesNotAnswer) {
  const auto a = Add("a", MakeScript(2));
  a->items.pop_back();
  a->is_deaf = true;
  Start(Params("a"), writer_);
  a->WaitUntilWaiting();
  const auto b = Add("b", MakeScript(1));
  b->open_waits = true;
  b->is_deaf = true;
  service_->DescribeCamera("b", {});
  b->WaitUntilWaiting();
  service_.reset();
  loop_->RunUntilIdle();
  a->LetOn();
  b->LetOn();
  RunUntilIdleAnd([&] { return a->IsGone() && b->IsGone(); });
  EXPECT_THAT(writer_->frames(), SizeIs(2));
}

TEST_F(CameraServiceTest, StopsAndCancelsWhatRunsWhenItEnds) {
  const auto a = Add("a", MakeScript(3));
  a->open_waits = true;
  Start(Params("a"), writer_);
  a->WaitUntilWaiting();
  service_.reset();
  loop_->RunUntilIdle();
  EXPECT_THAT(answers_, ElementsAre(Code(CameraError::kCancelled)));
}

struct DeviceEvents {
  void OnState(const CameraDeviceState& state, const VideoDeviceInfo& device) {
    events.emplace_back(state, device.device_id);
    on_event();
  }
  std::vector<std::pair<CameraDeviceState, std::string>> events;
  std::function<void()> on_event;
};

TEST_F(CameraServiceTest, PublishesDevicesThatComeAndGo) {
  const auto listener = std::make_shared<DeviceEvents>();
  listener->on_event = [this] { loop_->Quit(); };
  core::SubscribeEvent<std::function<void(const CameraDeviceState&, const VideoDeviceInfo&)>>(
      video::kCameraDeviceStateNotification, "", core::Location(__FILE__, __LINE__), listener,
      &DeviceEvents::OnState);
  devices_ = {Device("/dev/video0")};
  service_->Init();

  devices_.push_back(Device("/dev/video2"));
  std::ofstream(directory_ / "video2") << "x";
  loop_->Run();
  EXPECT_THAT(listener->events,
              ElementsAre(std::pair(CameraDeviceState::kAdded, std::string("/dev/video2"))));

  devices_.erase(devices_.begin());
  fs::remove(directory_ / "video2");
  loop_->Run();
  EXPECT_THAT(listener->events,
              ElementsAre(std::pair(CameraDeviceState::kAdded, std::string("/dev/video2")),
                          std::pair(CameraDeviceState::kRemoved, std::string("/dev/video0"))));
}

TEST_F(CameraServiceTest, PublishesADeviceWhoseNodeGetsItsRightsLate) {
  const auto listener = std::make_shared<DeviceEvents>();
  listener->on_event = [this] { loop_->Quit(); };
  core::SubscribeEvent<std::function<void(const CameraDeviceState&, const VideoDeviceInfo&)>>(
      video::kCameraDeviceStateNotification, "", core::Location(__FILE__, __LINE__), listener,
      &DeviceEvents::OnState);
  std::ofstream(directory_ / "video2") << "x";
  service_->Init();
  devices_ = {Device("/dev/video2")};
  fs::permissions(directory_ / "video2", fs::perms::owner_read);
  loop_->Run();
  EXPECT_THAT(listener->events,
              ElementsAre(std::pair(CameraDeviceState::kAdded, std::string("/dev/video2"))));
}

// What the main queue's thread writes.
class LineSink final : public movra_logging::LogSink {
 public:
  LineSink() { movra_logging::AddLogSink(this); }
  ~LineSink() override { movra_logging::RemoveLogSink(this); }
  void Send(const movra_logging::LogRecord& record) override {
    if (std::this_thread::get_id() == main_) lines.emplace_back(record.text);
  }
  std::vector<std::string> lines;

 private:
  const std::thread::id main_ = std::this_thread::get_id();
};

TEST_F(CameraServiceTest, AnswersAStartForWhichThereIsNoThreadToBeHad) {
  Add("a", MakeScript(1));
  LineSink sink;
  std::vector<int> described;
  {
    const core::NoMoreThreads none;
    Start(Params("a"), writer_);
    service_->DescribeCamera(
        "a", BindOnce([&](video::CameraInfo info) { described.push_back(info.error_code); }));
    EXPECT_THAT(answers_, IsEmpty());
  }
  loop_->RunUntilIdle();
  EXPECT_THAT(answers_, ElementsAre(Code(CameraError::kNoResources)));
  EXPECT_THAT(sink.lines, ElementsAre("The camera a cannot be started: the system has no thread "
                                      "left for a camera"));
  EXPECT_THAT(described, ElementsAre(Code(CameraError::kNoResources)));
  Stop(Params("a"), writer_);
  loop_->RunUntilIdle();
  EXPECT_EQ(stopped_, 1);
  Start(Params("a"), writer_);  // The writer and the camera are free.
  RunUntilAnswered();
  EXPECT_EQ(answers_.back(), 0);
}

TEST_F(CameraServiceTest, SaysOnceThatItCannotFocusAtAPoint) {
  LineSink sink;
  service_->FocusAtPoint(0.5F, 0.5F);
  service_->FocusAtPoint(0.1F, 0.2F);
  EXPECT_THAT(sink.lines, ElementsAre(HasSubstr("cannot be focused")));
  EXPECT_TRUE(service_->IsAutoFocusEnabled());
}

TEST_F(CameraServiceTest, IsMadeByTheRegistryAndServesTheTestCamera) {
  std::shared_ptr<video::ICameraService> service;
  ASSERT_TRUE(core::ServiceCenter::Instance().GetService(video::kCameraServiceId, service));
  const std::string id = "test:?frames=5&size=320x180&lossless";
  service->StartCapture(1, Params(id), writer_, {});
  writer_->WaitForEnd();
  const std::vector<PixelFrame> frames = writer_->frames();
  ASSERT_THAT(frames, SizeIs(5));
  for (std::uint32_t i = 0; i < 5; ++i) EXPECT_EQ(ReadFrameMarker(frames[i]), i);
  service->StopCapture(Params(id), writer_, {});
  core::ServiceCenter::Instance().Clear();
}

TEST_F(CameraServiceTest, ListsDevicesAlone) {
  using Mode = video::CameraListInterface::GetCameraListMode;
  for (const Mode mode : {Mode::kAll, Mode::kPhysical}) {
    for (const VideoDeviceInfo& device : video::ICameraService::GetCameraDeviceList(mode)) {
      EXPECT_THAT(device.device_id, ::testing::StartsWith("/dev/video"));
    }
  }
}

TEST(CameraErrorText, IsTotal) {
  EXPECT_EQ(CameraErrorToString(CameraError::kNoSuchFile), "no such file");
  EXPECT_EQ(CameraErrorToString(static_cast<CameraError>(-3)), "CameraError(-3)");
}

TEST_F(CameraServiceTest, EachOperationOffTheMainQueueIsTold) {
  using Service = CameraServiceImpl;
  const std::vector<NamedOperation<Service>> operations = {
      {"Init", [](Service& s) { s.Init(); }},
      {"StartCapture", [this](Service& s) { s.StartCapture(1, Params("a"), writer_, {}); }},
      {"StopCapture", [this](Service& s) { s.StopCapture(Params("a"), writer_, {}); }},
      {"UpdateCaptureParams", [](Service& s) { s.UpdateCaptureParams(Params("a")); }},
      {"GetCaptureStat", [](Service& s) { static_cast<void>(s.GetCaptureStat(Params("a"))); }},
      {"DescribeCamera", [](Service& s) { s.DescribeCamera("a", {}); }},
      {"IsAutoFocusEnabled", [](Service& s) { static_cast<void>(s.IsAutoFocusEnabled()); }},
      {"FocusAtPoint", [](Service& s) { s.FocusAtPoint(0, 0); }},
  };
  const auto make = [this] { return std::make_shared<Service>(parts_); };
  ExpectToldOffTheMainQueue(operations, make, "the camera service");
}

}  // namespace
}  // namespace movra::media
