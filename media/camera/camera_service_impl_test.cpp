#include "media/camera/camera_service_impl.h"

#include <deque>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/notification_center.h"
#include "core/run_loop.h"
#include "core/service_center.h"
#include "logging/log_sink.h"
#include "media/camera/camera_error.h"
#include "media/camera/capture_for_test.h"
#include "media/camera/frame_marker.h"
#include "media/temporary_directory_for_test.h"

namespace movra::media {
namespace {

namespace fs = std::filesystem;
using movra_base::BindOnce;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using video::CameraDeviceState;
using video::CameraParams;
using video::PixelFrame;
using video::Size;
using video::VideoDeviceInfo;

int Code(CameraError error) { return static_cast<int>(error); }

CameraParams Params(const std::string& id) {
  CameraParams params;
  params.camera_id = id;
  return params;
}

VideoDeviceInfo Device(const std::string& id) {
  VideoDeviceInfo device;
  device.device_id = id;
  return device;
}

// A main queue whose delays are over when the test says so.
class PatientQueue final : public core::DispatchQueue {
 public:
  [[nodiscard]] bool IsCurrent() const override { return true; }
  void Post(core::Task /*task*/) override {}
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

class CameraServiceTest : public ::testing::Test {
 protected:
  CameraServiceTest() {
    core::SetMainQueue(loop_);
    CameraServiceParts parts;
    parts.make_source =
        [this](const std::string& id,
               const video::PlaybackParams& playback) -> std::unique_ptr<CameraSource> {
      playback_seen_[id] = playback;
      made_.push_back(id);
      const auto script = scripts_.find(id);
      if (script == scripts_.end()) return nullptr;
      return std::make_unique<ScriptedSource>(script->second);
    };
    parts.list_devices = [this] { return devices_; };
    parts.device_directory = directory_.path().string();
    service_ = std::make_shared<CameraServiceImpl>(std::move(parts));
  }

  ~CameraServiceTest() override {
    service_.reset();
    core::NotificationCenter::GetInstance().Clear();
    core::SetMainQueue(nullptr);
  }

  void Start(const CameraParams& params, std::shared_ptr<video::IPixelFrameTrackWriter> writer) {
    service_->StartCapture(1, params, std::move(writer), BindOnce([this](int code, int elapsed_ms) {
                             EXPECT_GE(elapsed_ms, 0);
                             answers_.push_back(code);
                             if (quit_after_answer_) loop_->Quit();
                           }));
  }

  void Stop(const CameraParams& params, std::shared_ptr<video::IPixelFrameTrackWriter> writer) {
    service_->StopCapture(params, std::move(writer), BindOnce([this] { ++stopped_; }));
  }

  // Runs the main queue until the next answer of a start.
  void RunUntilAnswered() {
    quit_after_answer_ = true;
    loop_->Run();
    quit_after_answer_ = false;
  }

  std::shared_ptr<core::RunLoop> loop_ = std::make_shared<core::RunLoop>();
  const TemporaryDirectory directory_;
  std::map<std::string, std::shared_ptr<SourceScript>> scripts_;
  std::map<std::string, video::PlaybackParams> playback_seen_;
  std::vector<std::string> made_;  // The ids that sources were made for.
  std::vector<VideoDeviceInfo> devices_;
  std::shared_ptr<CameraServiceImpl> service_;
  std::shared_ptr<CollectingWriter> writer_ = std::make_shared<CollectingWriter>();
  std::vector<int> answers_;
  int stopped_ = 0;
  bool quit_after_answer_ = false;
};

TEST_F(CameraServiceTest, AnswersAStartOnTheMainQueueWhenTheCameraIsOpen) {
  scripts_["a"] = MakeScript(3);
  Start(Params("a"), writer_);
  writer_->WaitForEnd();
  EXPECT_THAT(answers_, IsEmpty());
  RunUntilAnswered();
  EXPECT_THAT(answers_, ElementsAre(0));
  EXPECT_THAT(writer_->frames(), SizeIs(3));
}

TEST_F(CameraServiceTest, AnswersAStartWithTheErrorOfTheSource) {
  scripts_["a"] = MakeScript(3);
  scripts_["a"]->info.error_code = Code(CameraError::kNotAVideo);
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
  EXPECT_THAT(service_->GetCameraInfo("nonsense").error_text, HasSubstr("'nonsense'"));
  EXPECT_EQ(service_->GetCameraInfo("nonsense").error_code, Code(CameraError::kNoSuchCamera));
}

TEST_F(CameraServiceTest, AnswersAStartThatIsStoppedWhileItOpensOnceAsCancelled) {
  scripts_["a"] = MakeScript(3);
  scripts_["a"]->open_waits = true;
  Start(Params("a"), writer_);
  scripts_["a"]->WaitUntilWaiting();
  Stop(Params("a"), writer_);
  EXPECT_THAT(answers_, IsEmpty());
  loop_->RunUntilIdle();
  EXPECT_THAT(answers_, ElementsAre(Code(CameraError::kCancelled)));
  EXPECT_EQ(stopped_, 1);
  EXPECT_THAT(writer_->frames(), IsEmpty());
}

TEST_F(CameraServiceTest, AnswersAStartOnceThatIsStoppedBeforeItsAnswerHasItsTurn) {
  scripts_["a"] = MakeScript(3);
  Start(Params("a"), writer_);
  writer_->WaitForEnd();  // The answer has been posted by now.
  Stop(Params("a"), writer_);
  loop_->RunUntilIdle();
  EXPECT_THAT(answers_, ElementsAre(Code(CameraError::kCancelled)));
}

TEST_F(CameraServiceTest, DoesNotTakeTheAnswerOfAnEarlierStartForThatOfALaterOne) {
  scripts_["a"] = MakeScript(1);
  scripts_["b"] = MakeScript(1);
  scripts_["b"]->open_waits = true;
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
  scripts_["a"] = MakeScript(1);
  scripts_["a"]->items.pop_back();
  Start(Params("a"), writer_);
  scripts_["a"]->WaitUntilWaiting();
  Stop(Params("another"), writer_);
  EXPECT_TRUE(scripts_["a"]->interrupted);
}

TEST_F(CameraServiceTest, AnswersAStopOfWhatDoesNotRun) {
  Stop(Params("a"), writer_);
  EXPECT_EQ(stopped_, 0);
  loop_->RunUntilIdle();
  EXPECT_EQ(stopped_, 1);
}

TEST_F(CameraServiceTest, AStartIntoAWriterEndsTheCaptureThatWritesThere) {
  scripts_["a"] = MakeScript(1);
  scripts_["a"]->items.pop_back();
  scripts_["b"] = MakeScript(1);
  Start(Params("a"), writer_);
  scripts_["a"]->WaitUntilWaiting();
  Start(Params("b"), writer_);
  EXPECT_TRUE(scripts_["a"]->interrupted);
  writer_->WaitForEnd();
  EXPECT_THAT(writer_->frames(), SizeIs(2));
}

TEST_F(CameraServiceTest, AnAnswerMayStopItsOwnCapture) {
  scripts_["a"] = MakeScript(1);
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

TEST_F(CameraServiceTest, RunsTwoCapturesAtOnceAndStopsOneAlone) {
  scripts_["a"] = MakeScript(4);
  scripts_["b"] = MakeScript(4);
  const auto slow = std::make_shared<CollectingWriter>(1);
  Start(Params("a"), slow);
  Start(Params("b"), writer_);
  slow->WaitUntilRefused();
  writer_->WaitForEnd();  // The other's lack of room does not hold this one up.
  Stop(Params("b"), writer_);
  slow->MakeRoom(10);
  slow->WaitForEnd();
  EXPECT_THAT(slow->frames(), SizeIs(4));
}

TEST_F(CameraServiceTest, AppliesThePresentFieldsOfAnUpdateToTheCapturesOfThatCamera) {
  scripts_["a"] = MakeScript(9, 30);
  writer_ = std::make_shared<CollectingWriter>(1);
  CameraParams params = Params("a");
  params.width = 32;
  params.height = 18;
  Start(params, writer_);
  writer_->WaitUntilRefused();
  CameraParams rate_only = Params("a");
  rate_only.frame_rate = 10;
  service_->UpdateCaptureParams(rate_only);
  CameraParams another = Params("b");
  another.width = 4;
  another.height = 4;
  service_->UpdateCaptureParams(another);
  writer_->MakeRoom(100);
  writer_->WaitForEnd();
  const std::vector<PixelFrame> frames = writer_->frames();
  ASSERT_THAT(frames, SizeIs(4));  // Numbers 0 and 1, then every third.
  for (const PixelFrame& frame : frames) EXPECT_EQ(frame.info().size, (Size{32, 18}));
}

TEST_F(CameraServiceTest, CountsTheFramesOfTheLatestStart) {
  scripts_["a"] = MakeScript(3);
  EXPECT_EQ(service_->GetCaptureStat(Params("a")), 0u);
  Start(Params("a"), writer_);
  writer_->WaitForEnd();
  EXPECT_EQ(service_->GetCaptureStat(Params("a")), 3u);
  Stop(Params("a"), writer_);
  EXPECT_EQ(service_->GetCaptureStat(Params("a")), 3u);
  EXPECT_EQ(service_->GetCaptureStat(Params("b")), 0u);
  const auto second = std::make_shared<CollectingWriter>();
  scripts_["a"] = MakeScript(1);
  Start(Params("a"), second);
  second->WaitForEnd();
  EXPECT_EQ(service_->GetCaptureStat(Params("a")), 1u);
}

TEST_F(CameraServiceTest, HandsThePlaybackOfACameraToItsNextSource) {
  scripts_["a"] = MakeScript(1);
  service_->SetPlaybackParams("a", {.loop = true, .realtime = true});
  EXPECT_EQ(service_->GetCameraInfo("a").error_code, 0);
  EXPECT_EQ(playback_seen_["a"], (video::PlaybackParams{.loop = true, .realtime = true}));
  EXPECT_EQ(service_->GetCameraInfo("b").error_code, Code(CameraError::kNoSuchCamera));
  EXPECT_EQ(playback_seen_["b"], video::PlaybackParams());
}

TEST_F(CameraServiceTest, PlaysTheFileThatItLookedAtWithoutOpeningItAgain) {
  scripts_["a"] = MakeScript(2);
  scripts_["a"]->info.is_file = true;
  EXPECT_EQ(service_->GetCameraInfo("a").error_code, 0);
  Start(Params("a"), writer_);
  writer_->WaitForEnd();
  EXPECT_THAT(made_, ElementsAre("a"));
  EXPECT_THAT(writer_->frames(), SizeIs(2));
  Start(Params("a"), std::make_shared<CollectingWriter>());
  EXPECT_THAT(made_, ElementsAre("a", "a"));
}

TEST_F(CameraServiceTest, ForgetsAFileThatItLookedAtAndThatIsNotPlayedSoon) {
  const auto queue = std::make_shared<PatientQueue>();
  core::SetMainQueue(queue);
  scripts_["a"] = MakeScript(1);
  scripts_["a"]->info.is_file = true;
  EXPECT_EQ(service_->GetCameraInfo("a").error_code, 0);
  EXPECT_EQ(service_->GetCameraInfo("a").error_code, 0);
  queue->RunFirst();  // The time of the first look is over, which the second one has replaced.
  Start(Params("a"), writer_);
  EXPECT_THAT(made_, ElementsAre("a", "a"));
  queue->RunFirst();
  EXPECT_EQ(service_->GetCameraInfo("a").error_code, 0);
  queue->RunFirst();
  Start(Params("a"), std::make_shared<CollectingWriter>());
  EXPECT_THAT(made_, ElementsAre("a", "a", "a", "a"));
  core::SetMainQueue(loop_);
}

TEST_F(CameraServiceTest, OpensAnewWhatIsNotTheFileThatItLookedAt) {
  scripts_["a"] = MakeScript(1);
  scripts_["a"]->info.is_file = true;
  scripts_["b"] = MakeScript(1);
  EXPECT_EQ(service_->GetCameraInfo("a").error_code, 0);
  Start(Params("b"), std::make_shared<CollectingWriter>());  // Another file.
  Start(Params("a"), std::make_shared<CollectingWriter>());  // Too late.
  EXPECT_THAT(made_, ElementsAre("a", "b", "a"));
  EXPECT_EQ(service_->GetCameraInfo("b").error_code, 0);
  Start(Params("b"), std::make_shared<CollectingWriter>());  // No file.
  EXPECT_THAT(made_, ElementsAre("a", "b", "a", "b", "b"));
  EXPECT_EQ(service_->GetCameraInfo("a").error_code, 0);
  service_->SetPlaybackParams("a", {.loop = true, .realtime = false});
  Start(Params("a"), std::make_shared<CollectingWriter>());  // To be played otherwise.
  EXPECT_THAT(made_, ElementsAre("a", "b", "a", "b", "b", "a", "a"));
}

TEST_F(CameraServiceTest, StopsAndCancelsWhatRunsWhenItEnds) {
  scripts_["a"] = MakeScript(3);
  scripts_["a"]->open_waits = true;
  Start(Params("a"), writer_);
  scripts_["a"]->WaitUntilWaiting();
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

class LineSink final : public movra_logging::LogSink {
 public:
  LineSink() { movra_logging::AddLogSink(this); }
  ~LineSink() override { movra_logging::RemoveLogSink(this); }
  void Send(const movra_logging::LogRecord& record) override { lines.emplace_back(record.text); }
  std::vector<std::string> lines;
};

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
  EXPECT_EQ(service->GetCameraInfo(id).natural_size, (Size{320, 180}));
  service->StartCapture(1, Params(id), writer_, {});
  writer_->WaitForEnd();
  const std::vector<PixelFrame> frames = writer_->frames();
  ASSERT_THAT(frames, SizeIs(5));
  for (std::uint32_t i = 0; i < 5; ++i) EXPECT_EQ(ReadFrameMarker(frames[i]), i);
  service->StopCapture(Params(id), writer_, {});
  core::ServiceCenter::Instance().Clear();
}

TEST_F(CameraServiceTest, ListsTheTestCameraBehindTheDevices) {
  using Mode = video::CameraListInterface::GetCameraListMode;
  const auto physical = video::ICameraService::GetCameraDeviceList(Mode::kPhysical);
  const auto all = video::ICameraService::GetCameraDeviceList(Mode::kAll);
  ASSERT_THAT(all, SizeIs(physical.size() + 1));
  EXPECT_EQ(all.back().device_id, "test:");
}

TEST(CameraErrorText, IsTotal) {
  EXPECT_EQ(CameraErrorToString(CameraError::kNoSuchFile), "no such file");
  EXPECT_EQ(CameraErrorToString(static_cast<CameraError>(-3)), "CameraError(-3)");
}

}  // namespace
}  // namespace movra::media
