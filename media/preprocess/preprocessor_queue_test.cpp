// Operations belong to the main queue.

#include <memory>
#include <string>
#include <vector>

#include "media/main_queue/off_the_main_queue_for_test.h"
#include "media/preprocess/preprocessor_fixture_for_test.h"

namespace movra::media {
namespace {

using Operations = std::vector<NamedOperation<video::IVideoPreprocessor2>>;
using P = video::IVideoPreprocessor2;

class PreprocessorOffTheMainQueue : public PreprocessorTest {
 protected:
  void ExpectTold(const Operations& operations) {
    const auto make = [this] { return P::Create(context, queue); };
    ExpectToldOffTheMainQueue(operations, make, "a preprocessor");
  }
};

TEST_F(PreprocessorOffTheMainQueue, EachOperationOnFramesIsTold) {
  const auto track = video::IPixelFrameTrack::Create("tap", 1);
  const auto writer = track->GetWriter();
  const auto reader = track->GetReader();
  ExpectTold({
      {"StartProcessing", [](P& p) { p.StartProcessing(); }},
      {"SetInputTrackReader", [&](P& p) { p.SetInputTrackReader(reader); }},
      {"AddInterceptor", [](P& p) { p.AddInterceptor(kPreview, {}, {}); }},
      {"RemoveInterceptor", [](P& p) { p.RemoveInterceptor({}); }},
      {"AddOutputTrack", [&](P& p) { p.AddOutputTrack(kPreview, {}, writer); }},
      {"RemoveOutputTrack", [&](P& p) { p.RemoveOutputTrack(writer); }},
      {"StopProcessing", [](P& p) { p.StopProcessing(); }},
      {"Snapshot", [](P& p) { p.Snapshot({}); }},
  });
}

TEST_F(PreprocessorOffTheMainQueue, EachSettingIsTold) {
  ExpectTold({
      {"SetBeautyStyle", [](P& p) { p.SetBeautyStyle({}); }},
      {"SetBeautyLevel", [](P& p) { p.SetBeautyLevel(0); }},
      {"SetWhitenessLevel", [](P& p) { p.SetWhitenessLevel(0); }},
      {"SetRuddyLevel", [](P& p) { p.SetRuddyLevel(0); }},
      {"SetLUTColorFilter", [](P& p) { p.SetLUTColorFilter(nullptr); }},
      {"SetLUTColorFilter", [](P& p) { p.SetLUTColorFilter(nullptr, 0, nullptr, 0, 0); }},
      {"SetLUTColorFilterStrength", [](P& p) { p.SetLUTColorFilterStrength(0); }},
      {"SetGreenScreenParams", [](P& p) { p.SetGreenScreenParams({}); }},
      {"SetWatermark", [](P& p) { p.SetWatermark(nullptr, 0, 0, 0, false); }},
      {"SetCoverImageParams", [](P& p) { p.SetCoverImageParams(nullptr); }},
      {"SetSourceType", [](P& p) { p.SetSourceType({}); }},
      {"SetProducerMode", [](P& p) { p.SetProducerMode({}); }},
      {"SetFrameAdaptiveFlag", [](P& p) { p.SetFrameAdaptiveFlag(false); }},
      {"SetMirror", [](P& p) { p.SetMirror({}); }},
      {"SetRotation", [](P& p) { p.SetRotation({}); }},
      {"SetEncoderMirror", [](P& p) { p.SetEncoderMirror(false); }},
      {"SetEncoderOutputSize", [](P& p) { p.SetEncoderOutputSize(64, 36); }},
      {"SetEncoderRotation", [](P& p) { p.SetEncoderRotation({}); }},
      {"SetFrameAdaptiveMode", [](P& p) { p.SetFrameAdaptiveMode({}); }},
      {"SetGSensorMode", [](P& p) { p.SetGSensorMode({}); }},
  });
}

// Statistics are read wherever they are shown.
TEST_F(PreprocessorOffTheMainQueue, TheFiguresAreAnybodys) {
  const movra_logging::RecordingSink log;
  std::thread([this] { EXPECT_EQ(preprocessor->GetStats(), 0U); }).join();
  EXPECT_THAT(log.lines(), ::testing::IsEmpty());
}

}  // namespace
}  // namespace movra::media
