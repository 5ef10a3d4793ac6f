#include "app/media_objects.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>

#include <filesystem>
#include <future>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "core/run_loop.h"
#include "media/frame/pictures_for_test.h"
#include "media/frame/platform_objects.h"
#include "media/temporary_directory_for_test.h"

namespace movra::app {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

class MediaObjectsTest : public ::testing::Test {
 protected:
  MediaObjectsTest() { core::SetMainQueue(loop_); }
  ~MediaObjectsTest() override { core::SetMainQueue(nullptr); }

  template <class T>
  static std::string FailureText(const Result<std::shared_ptr<T>>& made) {
    return FailureOf(made) ? FailureOf(made)->text : "";
  }

  const std::shared_ptr<core::RunLoop> loop_ = std::make_shared<core::RunLoop>();
  media::TemporaryDirectory directory_;
  std::vector<Json> events_;
  MediaObjects objects_{[this](const Json& event) {
    events_.push_back(event);
    loop_->Quit();
  }};
};

TEST_F(MediaObjectsTest, AWriterIsAFileAndNothingElse) {
  const std::string path = directory_ / "big.h264";
  EXPECT_EQ(FailureText(objects_.MakeWriter(path)), "");
  EXPECT_THAT(FailureText(objects_.MakeWriter("1280x720," + path)),
              HasSubstr("has to be where the stream goes and nothing else"));
  EXPECT_THAT(FailureText(objects_.MakeWriter("off")),
              HasSubstr("has to be where the stream goes and nothing else"));
  EXPECT_THAT(FailureText(objects_.MakeWriter("")), HasSubstr("write WxH@RATE,BITRATE,FILE"));
  EXPECT_THAT(FailureText(objects_.MakeWriter("talk.doc")), HasSubstr("use .mp4, .mkv"));
  EXPECT_THAT(FailureText(objects_.MakeWriter("srt://host:1234")), HasSubstr("file:PATH or PATH"));
}

TEST_F(MediaObjectsTest, AWriterLeavesAFileThatIsThereAlone) {
  const std::string path = directory_.Write("big.h264", "mine");
  EXPECT_THAT(FailureText(objects_.MakeWriter(path)), HasSubstr(path));
  EXPECT_EQ(std::filesystem::file_size(path), 4u);
}

TEST_F(MediaObjectsTest, AWriterTellsWhyItBrokeOff) {
  const std::string path = directory_ / "big.h264";
  const auto writer = objects_.MakeWriter(path);
  signal(SIGXFSZ, SIG_IGN);
  rlimit before{};
  getrlimit(RLIMIT_FSIZE, &before);
  const rlimit limit{16, before.rlim_max};
  setrlimit(RLIMIT_FSIZE, &limit);
  // An access unit as far as a file without a container looks at it.
  std::vector<std::uint8_t> bytes(2'000'000, 0x55);
  const std::uint8_t head[] = {0, 0, 0, 1, 0x65};
  std::copy(std::begin(head), std::end(head), bytes.begin());
  video::EncodedFrame frame;
  frame.data = bytes.data();
  frame.size_bytes = bytes.size();
  frame.key_frame = true;
  frame.size = {640, 360};
  ValueOf(writer)->Write(frame);
  ValueOf(writer)->WriteEnd({});
  setrlimit(RLIMIT_FSIZE, &before);
  loop_->RunUntilIdle();  // Returns early at the first.
  loop_->RunUntilIdle();
  ASSERT_EQ(events_.size(), 2u);
  EXPECT_EQ(events_[0]["event"], "writer_error");
  EXPECT_EQ(events_[0]["writer"], path);
  EXPECT_THAT(events_[0]["error"].get<std::string>(), HasSubstr(path));
  EXPECT_EQ(events_[1],
            (Json{{"event", "writer_ended"}, {"writer", path}, {"error_code", 0}, {"reason", ""}}));
}

TEST_F(MediaObjectsTest, AReaderReadsTheFramesOfItsSource) {
  const auto made = objects_.MakeReader("test:");
  ASSERT_EQ(FailureText(made), "");
  const auto& reader = ValueOf(made);
  std::promise<void> readable;
  reader->SetReadableCallback([&readable, told = false]() mutable {
    if (!std::exchange(told, true)) readable.set_value();
  });
  readable.get_future().wait();
  reader->SetReadableCallback(nullptr);
  const video::TrackItem item = reader->Read();
  ASSERT_TRUE(std::holds_alternative<video::PixelFrame>(item));
  EXPECT_GT(std::get<video::PixelFrame>(item).info().size.width, 0);
  EXPECT_GE(reader->GetCaptureStat(), 1u);
}

TEST_F(MediaObjectsTest, AReaderOfAnUnknownSourceIsRefused) {
  EXPECT_EQ(
      FailureText(objects_.MakeReader("camera")),
      "'camera' names no source; write test:, file:PATH, /dev/videoN, screen:NAME or window:TITLE");
}

TEST_F(MediaObjectsTest, AReaderTellsWhyItsSourceCannotBeOpened) {
  const std::string id = "file:" + (directory_ / "missing.mp4");
  const auto reader = objects_.MakeReader(id);
  ASSERT_EQ(FailureText(reader), "");
  loop_->Run();  // Until it is told.
  ASSERT_EQ(events_.size(), 1u);
  EXPECT_EQ(events_[0]["event"], "reader_error");
  EXPECT_EQ(events_[0]["reader"], id);
  EXPECT_NE(events_[0]["error"], "");
}

TEST_F(MediaObjectsTest, AViewIsAWindowOfTheWindowingSystem) {
  const auto decimal = objects_.MakeView("x11:4194311");
  const auto hexadecimal = objects_.MakeView("x11:0x400007");
  EXPECT_EQ(ValueOf(decimal)->window(), 4194311u);
  EXPECT_EQ(ValueOf(hexadecimal)->window(), 4194311u);
  EXPECT_EQ(FailureText(objects_.MakeView("window")),
            "'window': a window of the program's own is not there yet; write 'x11:ID' with the "
            "number of a window that is");
  for (const char* text : {"", "x11:", "x11:0", "x11:7x", "x11:-7", "x11:0x", "wayland:7",
                           "x11:99999999999999999999"}) {
    EXPECT_THAT(FailureText(objects_.MakeView(text)), HasSubstr("is no view; write 'window'"))
        << text;
  }
}

TEST_F(MediaObjectsTest, AnImageIsAColourOrAFile) {
  const auto color = objects_.MakeImage("#b44628");
  ASSERT_EQ(FailureText(color), "");
  const video::PixelFrameInfo& info = ValueOf(color)->frame().info();
  EXPECT_EQ(info.format, video::PixelFormat::kBGRA);
  EXPECT_EQ(media::DistanceFrom(info, media::kRust), 0);
  EXPECT_EQ(objects_.DescribeImage(*ValueOf(color)).dump(), R"({"width":16,"height":16})");
  const auto file = objects_.MakeImage(
      directory_.Write("gray.y4m", "YUV4MPEG2 W2 H2 F25:1\nFRAME\n" + std::string(6, '\x80')));
  ASSERT_EQ(FailureText(file), "");
  EXPECT_EQ(objects_.DescribeImage(*ValueOf(file)).dump(), R"({"width":2,"height":2})");
  EXPECT_EQ(FailureText(objects_.MakeImage("#80b44628")),
            "'#80b44628' is no file; write a picture file, or '#rrggbb' for one colour");
}

TEST_F(MediaObjectsTest, AListenerIsOneOfThePrograms) {
  EXPECT_EQ(FailureText(objects_.MakeListener("invert")), "");
  EXPECT_THAT(FailureText(objects_.MakeListener("upend")), StartsWith("'upend' is no listener"));
}

TEST_F(MediaObjectsTest, TappedFramesHaveNoFilesYet) {
  EXPECT_EQ(FailureText(objects_.MakeShuntWriter("a.y4m")),
            "'a.y4m': frames that are tapped are not written into files yet");
}

TEST_F(MediaObjectsTest, TheRecorderIsOneAndTellsTheHandler) {
  const auto recorder = objects_.Recorder();
  EXPECT_EQ(recorder, objects_.Recorder());
  recorder->OnWindowCovered(nullptr, 7);
  EXPECT_THAT(events_, ElementsAre(Json{{"event", "window_covered"}, {"source", 7}}));
}

}  // namespace
}  // namespace movra::app
