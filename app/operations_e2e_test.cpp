// Operations as data on the real producer, its real collaborators and real files.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "app/media_objects.h"
#include "app/operations.h"
#include "core/run_loop.h"
#include "core/service_center.h"
#include "media/ffmpeg/decode_for_test.h"
#include "media/temporary_directory_for_test.h"
#include "video/producer/video_producer2_impl.h"

namespace movra::app {
namespace {

using ::testing::ElementsAre;

constexpr int kPictures = 10;

class OperationsE2e : public ::testing::Test {
 protected:
  OperationsE2e() {
    core::SetMainQueue(loop_);
    std::string text = "YUV4MPEG2 W64 H48 F25:1\n";
    for (int i = 0; i < kPictures; ++i) {
      text += "FRAME\n" + std::string(64 * 48, static_cast<char>(Luma(i))) +
              std::string(64 * 48 / 2, '\x80');
    }
    source_ = "file:" + directory_.Write("source.y4m", text);
    output_ = directory_ / "big.mp4";
    producer_ = std::make_shared<video::VideoProducer2Impl>(
        video::VideoContext(InstanceTrace(1), ""), nullptr, video::VideoStreamType::kBig);
    operations_ = std::make_unique<Operations>(
        producer_, std::make_shared<MediaObjects>([this](const Json& event) {
          events_.push_back(event);
          if (event["event"] != "writer_ended") return;
          ended_ = true;
          loop_->Quit();
        }));
  }
  ~OperationsE2e() override {
    operations_.reset();
    core::ServiceCenter::Instance().Clear();
    core::SetMainQueue(nullptr);
  }

  static int Luma(int picture) { return 40 + 10 * picture; }

  // In a task of the main queue, as a program does. What is answered then is kept.
  void Call(const std::string& name, const Json& arguments = {}) {
    loop_->Post(movra_base::BindOnce([this, name, arguments] {
      operations_->Call(name, arguments, [this](const Result<Json>& answer) {
        const Failure* const failure = FailureOf(answer);
        answers_.push_back(failure ? Json(failure->text) : ValueOf(answer));
      });
    }));
    loop_->RunUntilIdle();
  }

  void StartEncoder() {
    Call("start_encoder", {{"type", "big"},
                           {"params", {{"width", 64}, {"height", 48}, {"frame_rate", 25}}},
                           {"writer", output_}});
  }

  // Stops everything when the last frame has been written.
  void StopAtTheEnd() {
    if (!ended_) loop_->Run();
    Call("stop_encoder", {{"type", "big"}});
    Call("stop_capture");
    Call("uninitialize");
  }

  // The brightness of the middle of each picture that was written, as those were that went in.
  std::vector<int> Written() const {
    const media::DecodedFile file = media::DecodeFile(output_);
    EXPECT_EQ(file.error, "");
    std::vector<int> lumas;
    for (const auto& picture : file.pictures) {
      lumas.push_back((picture.luma[picture.luma.size() / 2] + 2) / 5 * 5);
    }
    return lumas;
  }

  const std::shared_ptr<core::RunLoop> loop_ = std::make_shared<core::RunLoop>();
  media::TemporaryDirectory directory_;
  std::string source_;
  std::string output_;
  std::vector<Json> events_;
  bool ended_ = false;
  std::vector<Json> answers_;
  std::shared_ptr<video::VideoProducer2Impl> producer_;
  std::unique_ptr<Operations> operations_;
};

TEST_F(OperationsE2e, ACameraPassesAListenerIntoAFile) {
  Call("initialize");
  Call("set_producer_mode", {{"mode", "own_size"}});
  StartEncoder();
  Call("add_interceptor", {{"position", "captured"}, {"listener", "invert"}});
  EXPECT_THAT(answers_, ElementsAre(Json(), Json(), Json(), Json()));
  answers_.clear();
  Call("start_capture_camera", {{"params", {{"camera_id", source_}, {"frame_rate", 25}}}});
  StopAtTheEnd();
  ASSERT_FALSE(answers_.empty());
  EXPECT_EQ(answers_[0]["error_code"], 0);
  std::vector<int> inverted;
  for (int i = 0; i < kPictures; ++i) inverted.push_back(255 - Luma(i));
  EXPECT_EQ(Written(), inverted);
}

TEST_F(OperationsE2e, PushedFramesPassAListenerIntoAFile) {
  Call("initialize");
  StartEncoder();
  Call("enable_custom_processing", {{"enable", true}, {"format", "i420"}, {"listener", "drop:5"}});
  Call("enable_custom_capturing", {{"enable", true}});
  Call("set_custom_capture_input_track", {{"reader", source_}});
  EXPECT_THAT(answers_, ElementsAre(Json(), Json(), Json(), Json(), Json()));
  StopAtTheEnd();
  EXPECT_EQ(Written(), (std::vector<int>{40, 50, 60, 70, 90, 100, 110, 120}));
  EXPECT_EQ(events_.size(), 1u);
}

}  // namespace
}  // namespace movra::app
