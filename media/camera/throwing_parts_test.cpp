#include <future>
#include <memory>
#include <new>
#include <stdexcept>

#include <gtest/gtest.h>

#include "media/camera/camera_service_for_test.h"
#include "media/capture/camera_error.h"
#include "media/capture/source_capture.h"

// Cameras and writers of the application that throw: the process lives, and everybody has an
// answer.

namespace movra::media {
namespace {

enum class Thrower { kMaker, kOpen, kPolicy, kRead, kDescribe };
enum class What { kError, kNoMemory };

void Throw(What what) {
  if (what == What::kNoMemory) throw std::bad_alloc();
  throw std::runtime_error("no such thing");
}

class ThrowingSource final : public FrameSource {
 public:
  ThrowingSource(Thrower thrower, What what) : thrower_(thrower), what_(what) {}

  // FrameSource
  video::CameraInfo Describe() override { return Answer(Thrower::kDescribe); }
  video::CameraInfo Open(const CaptureRequest& /*request*/) override {
    return Answer(Thrower::kOpen);
  }
  [[nodiscard]] SourcePolicy Policy() const override {
    static_cast<void>(Answer(Thrower::kPolicy));
    return {};
  }
  SourceItem Read(const CaptureRequest& /*request*/) override {
    static_cast<void>(Answer(Thrower::kRead));
    return MakeSourceFrame(0);
  }
  void Interrupt() override {}

 private:
  [[nodiscard]] video::CameraInfo Answer(Thrower asked) const {
    if (asked == thrower_) Throw(what_);
    return {};
  }

  const Thrower thrower_;
  const What what_;
};

class ThrowingWriter final : public video::IPixelFrameTrackWriter {
 public:
  video::TrackWriteResult Write(video::PixelFrame /*frame*/) override { throw 7; }
  void WriteEnd(const video::StreamEnd& /*end*/) override { ADD_FAILURE() << "it was shut"; }
};

class ThrowingPartsTest : public CameraServiceTest {
 protected:
  void UseSource(Thrower thrower, What what = What::kError) {
    parts_.make_source = [thrower, what](const std::string& /*id*/) {
      if (thrower == Thrower::kMaker) Throw(what);
      return std::make_unique<ThrowingSource>(thrower, what);
    };
    service_ = std::make_shared<CameraServiceImpl>(parts_);
  }
};

TEST_F(ThrowingPartsTest, ACameraThatThrowsWhenItIsStartedCannotBeOpened) {
  for (const Thrower thrower : {Thrower::kMaker, Thrower::kOpen, Thrower::kPolicy}) {
    UseSource(thrower);
    Start(Params("a"), writer_);
    RunUntilAnswered();
    EXPECT_EQ(answers_.back(), Code(CameraError::kCannotOpen));
    Stop(Params("a"), writer_);
  }
  EXPECT_TRUE(writer_->frames().empty());
}

TEST_F(ThrowingPartsTest, ACameraThatThrowsWhenItIsReadEndsItsStream) {
  UseSource(Thrower::kRead);
  Start(Params("a"), writer_);
  EXPECT_EQ(writer_->WaitForEnd().error_code, Code(CameraError::kReadFailed));
}

TEST_F(ThrowingPartsTest, ACameraThatThrowsWhenItIsLookedAtHasNoDescription) {
  for (const Thrower thrower : {Thrower::kMaker, Thrower::kDescribe}) {
    UseSource(thrower);
    EXPECT_EQ(Describe("a").error_code, Code(CameraError::kCannotOpen));
  }
}

TEST_F(ThrowingPartsTest, ALackOfMemoryIsTheReasonThatIsGiven) {
  UseSource(Thrower::kOpen, What::kNoMemory);
  Start(Params("a"), writer_);
  RunUntilAnswered();
  EXPECT_EQ(answers_.back(), Code(CameraError::kNoResources));
  EXPECT_EQ(Describe("a").error_code, 0);

  UseSource(Thrower::kDescribe, What::kNoMemory);
  EXPECT_EQ(Describe("a").error_code, Code(CameraError::kNoResources));
  EXPECT_EQ(Describe("a").error_text, "there is not enough memory");

  UseSource(Thrower::kRead, What::kNoMemory);
  Start(Params("a"), writer_);
  EXPECT_EQ(writer_->WaitForEnd().error_code, Code(CameraError::kNoResources));
}

TEST_F(ThrowingPartsTest, AWriterThatThrowsIsLetGoOf) {
  const auto capture = std::make_shared<SourceCapture>(
      SourceCapture::Camera{"a", movra_base::BindOnce([]() -> std::unique_ptr<FrameSource> {
                              return std::make_unique<ScriptedSource>(MakeScript(3));
                            })},
      std::make_shared<ThrowingWriter>(), CaptureRequest{}, std::make_shared<CaptureClock>(),
      std::make_shared<std::atomic<std::uint32_t>>(0));
  ASSERT_TRUE(capture->Start([](const video::CameraInfo&) {}));
  WaitFor(capture->writer_let_go());
  WaitFor(capture->camera_let_go());
}

}  // namespace
}  // namespace movra::media
