// The settings of the shown picture: what each one logs, keeps and tells, and whom.

#include <cstdint>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "logging/log_filter.h"
#include "logging/log_sink.h"
#include "video/producer/preview_test_fixture.h"

namespace movra::video {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using testing::MakeView;
using ::testing::ValuesIn;

constexpr std::int32_t kNoName = 77;

// A call of an operation while both previews run, the local one in "renderer" and the custom one in
// "renderer#2".
struct Setting {
  std::string name;
  std::string operation;
  std::function<void(IVideoProducer2&)> call;
  std::string message;
  std::vector<std::string> calls;
};

void PrintTo(const Setting& setting, std::ostream* out) { *out << setting.name; }

Setting Mirror(const std::string& name, MirrorMode mode, const std::string& text) {
  return {name,
          "SetRenderMirror",
          [=](IVideoProducer2& p) { p.SetRenderMirror(mode); },
          "Set render mirror:" + text,
          {"preprocessor.SetMirror(" + text + ")"}};
}

Setting Rotation(const std::string& name, VideoRotation rotation, const std::string& text) {
  return {name,
          "SetRenderRotation",
          [=](IVideoProducer2& p) { p.SetRenderRotation(rotation); },
          "Set render rotation:" + text,
          {"preprocessor.SetRotation(" + text + ")"}};
}

Setting Color(const std::string& name, unsigned int color, const std::string& digits) {
  return {name,
          "SetRenderBackgroundColor",
          [=](IVideoProducer2& p) { p.SetRenderBackgroundColor(color); },
          "Set render back ground color:0x" + digits,
          {"renderer.SetBackgroundColor(" + std::to_string(color) + ")"}};
}

Setting Fill(const std::string& name, FillMode mode, const std::string& text) {
  return {name,
          "SetFillMode",
          [=](IVideoProducer2& p) { p.SetFillMode(mode); },
          "Set fill mode:" + text,
          {"renderer.SetFillMode(" + text + ")", "renderer#2.SetFillMode(" + text + ")"}};
}

Setting GSensor(const std::string& name, GSensorMode mode, const std::string& text) {
  return {name,
          "SetGSensorMode",
          [=](IVideoProducer2& p) { p.SetGSensorMode(mode); },
          "Set GSensor mode:" + text,
          {"preprocessor.SetGSensorMode(" + text + ")"}};
}

Setting Adaptive(const std::string& name, FrameAdaptiveMode mode, bool flag,
                 const std::string& text) {
  return {name,
          "SetOutputFrameAdaptiveMode",
          [=](IVideoProducer2& p) { p.SetOutputFrameAdaptiveMode(mode, flag); },
          "Set output frame adaptive mode:" + text,
          {"preprocessor.SetFrameAdaptiveMode(" + text + ")",
           std::string("preprocessor.SetFrameAdaptiveFlag(") + (flag ? "true" : "false") + ")"}};
}

std::vector<Setting> Settings() {
  return {
      Mirror("MirrorAuto", MirrorMode::kAuto, "kAuto"),
      Mirror("MirrorEnabled", MirrorMode::kEnabled, "kEnabled"),
      Mirror("MirrorDisabled", MirrorMode::kDisabled, "kDisabled"),
      Mirror("MirrorWithoutAName", static_cast<MirrorMode>(kNoName), "MirrorMode(77)"),
      Rotation("Rotation0", VideoRotation::k0, "k0"),
      Rotation("Rotation90", VideoRotation::k90, "k90"),
      Rotation("Rotation180", VideoRotation::k180, "k180"),
      Rotation("Rotation270", VideoRotation::k270, "k270"),
      Rotation("RotationWithoutAName", static_cast<VideoRotation>(-1), "VideoRotation(-1)"),
      Color("ColorGreen", 0x00FF00, "0000ff00"),
      Color("ColorWhite", 0xFFFFFFFF, "ffffffff"),
      Color("ColorNone", 0, "00000000"),
      Fill("FillFill", FillMode::kFill, "kFill"),
      Fill("FillFit", FillMode::kFit, "kFit"),
      Fill("FillStretch", FillMode::kStretch, "kStretch"),
      Fill("FillWithoutAName", static_cast<FillMode>(kNoName), "FillMode(77)"),
      GSensor("GSensorDisabled", GSensorMode::kDisabled, "kDisabled"),
      GSensor("GSensorRotateToDevice", GSensorMode::kRotateToDevice, "kRotateToDevice"),
      GSensor("GSensorFollowLayout", GSensorMode::kFollowLayout, "kFollowLayout"),
      GSensor("GSensorWithoutAName", static_cast<GSensorMode>(kNoName), "GSensorMode(77)"),
      Adaptive("AdaptiveCrop", FrameAdaptiveMode::kCrop, false, "kCrop"),
      Adaptive("AdaptiveStretch", FrameAdaptiveMode::kStretch, true, "kStretch"),
      Adaptive("AdaptiveFit", FrameAdaptiveMode::kFit, true, "kFit"),
      Adaptive("AdaptiveWithoutAName", static_cast<FrameAdaptiveMode>(kNoName), false,
               "FrameAdaptiveMode(77)"),
  };
}

class RenderSetting : public PreviewTest, public ::testing::WithParamInterface<Setting> {
 protected:
  // A producer with both previews.
  [[nodiscard]] std::shared_ptr<VideoProducer2Impl> MakeBusyProducer() {
    auto producer = MakePreviewingProducer();
    EnableCustomRendering(*producer);
    static_cast<void>(OriginsOfLogLines());
    return producer;
  }
  // Whom the operation tells where there is no renderer.
  [[nodiscard]] static std::vector<std::string> CallsWithoutRenderers() {
    std::vector<std::string> calls = GetParam().calls;
    std::erase_if(calls, [](const std::string& call) { return call.starts_with("renderer"); });
    return calls;
  }
};

std::string NameOf(const ::testing::TestParamInfo<Setting>& setting) { return setting.param.name; }
INSTANTIATE_TEST_SUITE_P(Of, RenderSetting, ValuesIn(Settings()), NameOf);

TEST_P(RenderSetting, ChecksTheQueueLogsAndTellsThoseConcerned) {
  const auto producer = MakeBusyProducer();
  std::vector<std::string> expected = {"main_queue.IsCurrent()", Info(GetParam().message)};
  expected.insert(expected.end(), GetParam().calls.begin(), GetParam().calls.end());
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOf([&] { GetParam().call(*producer); }), ElementsAreArray(expected));
  EXPECT_THAT(OriginsOfLogLines(), ElementsAre(OriginIn(GetParam().operation)));
}

TEST_P(RenderSetting, TellsTheSameWithItsLogLineSwitchedOff) {
  const auto producer = MakeBusyProducer();
  movra_logging::SetMinLogLevel(1);
  EXPECT_THAT(EntriesOf([&] { GetParam().call(*producer); }), ElementsAreArray(GetParam().calls));
}

TEST_P(RenderSetting, WithoutRenderersTellsThePreprocessorAlone) {
  const auto producer = MakeProducer();
  std::vector<std::string> expected = {Info(GetParam().message)};
  for (const std::string& call : CallsWithoutRenderers()) expected.push_back(call);
  EXPECT_THAT(EntriesOf([&] { GetParam().call(*producer); }), ElementsAreArray(expected));
}

TEST_P(RenderSetting, NeedsNoOwnerAndNoClient) {
  VideoProducer2Impl producer(Context(), nullptr, VideoStreamType::kBig);
  EXPECT_NO_THROW(GetParam().call(producer));
}

TEST_P(RenderSetting, IsToldAgainEachTime) {
  const auto producer = MakeBusyProducer();
  GetParam().call(*producer);
  std::vector<std::string> expected = {Info(GetParam().message)};
  expected.insert(expected.end(), GetParam().calls.begin(), GetParam().calls.end());
  EXPECT_THAT(EntriesOf([&] { GetParam().call(*producer); }), ElementsAreArray(expected));
}

// The background colour.

class BackgroundColor : public PreviewTest {};

TEST_F(BackgroundColor, IsNotToldToCustomRenderingAndWaitsForTheView) {
  const auto producer = MakeCustomRenderingProducer();
  EXPECT_THAT(EntriesOf([&] { producer->SetRenderBackgroundColor(0x102030); }),
              ElementsAre(Info("Set render back ground color:0x00102030")));
  EXPECT_FALSE(world().renderers.Last().background_color().has_value());
  producer->SetRenderView(MakeView("view"));
  EXPECT_EQ(world().renderers.Last().background_color().value_or(0), 0x102030u);
}

TEST_F(BackgroundColor, IsRememberedAsItWasSetLast) {
  const auto producer = MakePreviewingProducer();
  producer->SetRenderBackgroundColor(1);
  producer->SetRenderBackgroundColor(2);
  producer->SetRenderView(nullptr);
  for (int start = 0; start < 2; ++start) {
    producer->SetRenderView(MakeView("view"));
    EXPECT_EQ(world().renderers.Last().background_color().value_or(0), 2u);
    producer->SetRenderView(nullptr);
  }
}

TEST_F(BackgroundColor, IsLoggedThenRememberedThenTold) {
  const auto producer = MakePreviewingProducer();
  const auto held = world().renderers.Find(0);
  const auto start_again = [&] {
    producer->SetRenderView(nullptr);
    producer->SetRenderView(MakeView("view"));
  };
  AtEntry(Info("Set render back ground color:0x00000001"), start_again);
  EXPECT_THAT(EntriesOf([&] { producer->SetRenderBackgroundColor(1); }),
              Contains("renderer#2.SetBackgroundColor(1)").Times(1));
  const auto held_too = world().renderers.Find(1);
  AtEntry("renderer#2.SetBackgroundColor(2)", start_again);
  EXPECT_THAT(EntriesOf([&] { producer->SetRenderBackgroundColor(2); }),
              Contains("renderer#3.SetBackgroundColor(2)").Times(1));
}

TEST_F(BackgroundColor, IsANumberByWhichTheLineIsFiltered) {
  SetLogValueFiltering(true);
  const auto producer = MakeProducer();
  const auto is_logged = [&](unsigned int color) {
    return !EntriesOf([&] { producer->SetRenderBackgroundColor(color); }).empty();
  };
  static_cast<void>(is_logged(0x111111));
  EXPECT_TRUE(is_logged(0x222222));
  EXPECT_FALSE(is_logged(0x222222));
  EXPECT_TRUE(is_logged(0x111111));
}

// The fill mode.

class FillModeSetting : public PreviewTest {};

TEST_F(FillModeSetting, ReachesACustomRendererWithoutALocalOne) {
  const auto producer = MakeCustomRenderingProducer();
  EXPECT_THAT(EntriesOf([&] { producer->SetFillMode(FillMode::kFit); }),
              ElementsAre(Info("Set fill mode:kFit"), "renderer.SetFillMode(kFit)"));
}

TEST_F(FillModeSetting, ReachesTheLocalRendererFirstWhicheverWasMadeFirst) {
  const auto producer = MakeCustomRenderingProducer();
  producer->SetRenderView(MakeView("view"));
  EXPECT_THAT(EntriesOf([&] { producer->SetFillMode(FillMode::kFit); }),
              ElementsAre(Info("Set fill mode:kFit"), "renderer#2.SetFillMode(kFit)",
                          "renderer.SetFillMode(kFit)"));
}

TEST_F(FillModeSetting, IsLoggedThenRememberedThenTold) {
  const auto producer = MakeProducer();
  AtEntry(Info("Set fill mode:kFit"), [&] { producer->SetRenderView(MakeView("view")); });
  EXPECT_THAT(EntriesOf([&] { producer->SetFillMode(FillMode::kFit); }),
              Contains("renderer.SetFillMode(kFit)").Times(1));
  AtEntry("renderer.SetFillMode(kStretch)", [&] { EnableCustomRendering(*producer); });
  EXPECT_THAT(EntriesOf([&] { producer->SetFillMode(FillMode::kStretch); }),
              Contains("renderer#2.SetFillMode(kStretch)").Times(2));
}

TEST_F(FillModeSetting, IsRememberedForBothPreviewsAsItWasSetLast) {
  const auto producer = MakeProducer();
  producer->SetFillMode(FillMode::kFit);
  producer->SetFillMode(FillMode::kStretch);
  for (int start = 0; start < 2; ++start) {
    producer->SetRenderView(MakeView("view"));
    EXPECT_EQ(world().renderers.Last().fill_mode().value_or(FillMode::kFill), FillMode::kStretch);
    EnableCustomRendering(*producer);
    EXPECT_EQ(world().renderers.Last().fill_mode().value_or(FillMode::kFill), FillMode::kStretch);
    producer->SetRenderView(nullptr);
    DisableCustomRendering(*producer);
  }
}

// The adaptive mode, which a start of a capture tells the preprocessor too.

class AdaptiveMode : public PreviewTest {
 protected:
  [[nodiscard]] FrameAdaptiveMode ModeAtTheStart(const std::function<void()>& start) {
    start();
    return preprocessor().settings().frame_adaptive_mode.value_or(
        static_cast<FrameAdaptiveMode>(kNoName));
  }
  [[nodiscard]] static CameraParams Camera(const std::string& id) {
    CameraParams params;
    params.camera_id = id;
    return params;
  }
};

TEST_F(AdaptiveMode, CropsACameraAndFitsAScreenWhenNothingWasSet) {
  const auto producer = MakeProducer();
  const auto stop = [&] { producer->StopCapture({}); };
  EXPECT_EQ(ModeAtTheStart([&] { producer->StartCapture(Camera("cam-1"), {}); }),
            FrameAdaptiveMode::kCrop);
  stop();
  EXPECT_EQ(ModeAtTheStart([&] { producer->StartCapture(DesktopScreenParams()); }),
            FrameAdaptiveMode::kFit);
  stop();
  EXPECT_EQ(ModeAtTheStart([&] { producer->StartCapture(Camera("virtual:1"), {}); }),
            FrameAdaptiveMode::kCrop);
  stop();
  EXPECT_EQ(ModeAtTheStart([&] { producer->StartCapture(MobileScreenParams()); }),
            FrameAdaptiveMode::kFit);
}

TEST_F(AdaptiveMode, IsAsItWasSetWhateverTheSource) {
  const auto producer = MakeProducer();
  producer->SetOutputFrameAdaptiveMode(FrameAdaptiveMode::kFit, false);
  EXPECT_EQ(ModeAtTheStart([&] { producer->StartCapture(Camera("cam-1"), {}); }),
            FrameAdaptiveMode::kFit);
  producer->StopCapture({});
  producer->SetOutputFrameAdaptiveMode(FrameAdaptiveMode::kCrop, false);
  EXPECT_EQ(ModeAtTheStart([&] { producer->StartCapture(DesktopScreenParams()); }),
            FrameAdaptiveMode::kCrop);
}

TEST_F(AdaptiveMode, IsLoggedThenRememberedThenTold) {
  const auto producer = MakeProducer();
  const auto capture = [&] { producer->StartCapture(DesktopScreenParams()); };
  AtEntry(Info("Set output frame adaptive mode:kStretch"), capture);
  EXPECT_THAT(
      EntriesOf([&] { producer->SetOutputFrameAdaptiveMode(FrameAdaptiveMode::kStretch, true); }),
      Contains("preprocessor.SetFrameAdaptiveMode(kStretch)").Times(1));
  producer->StopCapture({});
  AtEntry("preprocessor.SetFrameAdaptiveMode(kCrop)", capture);
  EXPECT_THAT(
      EntriesOf([&] { producer->SetOutputFrameAdaptiveMode(FrameAdaptiveMode::kCrop, true); }),
      Contains("preprocessor.SetFrameAdaptiveMode(kCrop)").Times(2));
}

}  // namespace
}  // namespace movra::video
