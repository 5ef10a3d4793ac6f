// What a frame looks like where: interceptors, turns, fitting, snapshots, effects.

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "logging/recording_sink_for_test.h"
#include "media/frame/platform_objects.h"
#include "media/preprocess/preprocessor_fixture_for_test.h"
#include "media/track/bounded_track.h"
#include "media/track/wanted_size.h"

namespace movra::media {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using video::InterceptPosition;
using video::PixelFormat;
using video::PixelFrame;
using video::Size;
using video::VideoRotation;
using Image = video::ObjcWrapper<NSImage>;

// Does what the test says with each frame.
class Listener final : public video::VideoInterceptorListener {
 public:
  explicit Listener(std::function<PixelFrame(const PixelFrame&)> answer)
      : answer_(std::move(answer)) {}

  PixelFrame OnInterceptFrame(InterceptPosition position, PixelFrame frame) override {
    positions.push_back(position);
    frames.push_back(frame);
    return answer_(frame);
  }

  std::vector<InterceptPosition> positions;
  std::vector<PixelFrame> frames;

 private:
  std::function<PixelFrame(const PixelFrame&)> answer_;
};

PixelFrame Unchanged(const PixelFrame& frame) { return frame; }

class PreprocessorPicture : public PreprocessorTest {
 protected:
  void Process(PixelFrame frame) {
    ASSERT_EQ(source->GetWriter()->Write(std::move(frame)), video::TrackWriteResult::kAccepted);
    queue->RunAll();
  }

  std::shared_ptr<RecordingWriter> AddWriter(InterceptPosition position,
                                             const video::CustomProcessParams& params) {
    auto writer = std::make_shared<RecordingWriter>();
    preprocessor->AddOutputTrack(position, params, writer);
    return writer;
  }

  // Rust in the left half, gray in the right one.
  PixelFrame Halves(VideoRotation rotation = VideoRotation::k0) {
    video::PixelFrameInfo info;
    info.rotation = rotation;
    WritableFrame frame = pool.Allocate(PixelFormat::kI420, kSize, info);
    Fill(frame, {0, 0, 32, 36}, kRust);
    Fill(frame, {32, 0, 32, 36}, kGray);
    return std::move(frame).Finish();
  }

  static bool IsRustAt(const PixelFrame& frame, const video::Region& region) {
    return DistanceFrom(CropTo(frame.info(), region), kRust) <= 2;
  }
};

TEST_F(PreprocessorPicture, EachTapReceivesItsSizeAndFormatWithTheFramesTimes) {
  const auto big = AddWriter(kEncoder, Params({32, 18}, PixelFormat::kNV12));
  const auto own = AddWriter(kPreview, Params({0, 0}, PixelFormat::kNone));
  const auto rgb = AddWriter(kPreview, Params({0, 0}, PixelFormat::kBGRA));
  preprocessor->StartProcessing();
  const PixelFrame frame = MakeFrame(4, kLive);
  Process(frame);
  EXPECT_EQ(big->frames.at(0).info().size, (Size{32, 18}));
  EXPECT_EQ(big->frames[0].info().format, PixelFormat::kNV12);
  EXPECT_EQ(big->frames[0].info().sequence, 4U);
  EXPECT_EQ(big->frames[0].info().timestamp, frame.info().timestamp);
  EXPECT_EQ(big->frames[0].info().capture_time, frame.info().capture_time);
  EXPECT_EQ(own->frames.at(0).owner(), frame.owner()) << "no copy where nothing changes";
  EXPECT_EQ(rgb->frames.at(0).info().format, PixelFormat::kBGRA);
  EXPECT_LE(DistanceFrom(rgb->frames[0].info(), kRust), 3);
}

TEST_F(PreprocessorPicture, TapsThatWantTheSameShareOnePicture) {
  const auto a = AddWriter(kEncoder, Params({32, 18}));
  const auto b = AddWriter(kEncoder, Params({32, 18}));
  const auto c = AddWriter(kPreview, Params({32, 18}));
  preprocessor->StartProcessing();
  Process(MakeFrame(0, kLive));
  EXPECT_EQ(a->frames.at(0).owner(), b->frames.at(0).owner());
  EXPECT_EQ(a->frames.at(0).owner(), c->frames.at(0).owner());
}

TEST_F(PreprocessorPicture, TheAdaptiveModeDecidesHowAnotherShapeIsFilled) {
  const auto tap = AddWriter(kEncoder, Params({36, 36}));
  preprocessor->StartProcessing();
  const auto corner = [&](int mode) {
    preprocessor->SetFrameAdaptiveMode(static_cast<video::FrameAdaptiveMode>(mode));
    Process(MakeFrame(0, kLive));
    const PixelFrame made = std::exchange(tap->frames, {}).at(0);
    EXPECT_EQ(made.info().size, (Size{36, 36}));
    return made.info().planes[0].data[0];
  };
  EXPECT_NEAR(corner(0), kRust.y, 2);
  EXPECT_NEAR(corner(1), kRust.y, 2);
  EXPECT_EQ(corner(2), 16) << "a bar";
  EXPECT_NEAR(corner(99), kRust.y, 2);
}

TEST_F(PreprocessorPicture, TheEncoderOutputSizeHoldsForTheBigStreamsTap) {
  const auto big = AddWriter(kEncoder, Params({64, 36}));
  video::CustomProcessParams params = Params({16, 8});
  params.stream_type = video::VideoStreamType::kSmall;
  const auto small = AddWriter(kEncoder, params);
  const auto preview = AddWriter(kPreview, Params({64, 36}));
  preprocessor->SetEncoderOutputSize(32, 18);
  preprocessor->StartProcessing();
  Process(MakeFrame(0, kLive));
  EXPECT_EQ(big->frames.at(0).info().size, (Size{32, 18}));
  EXPECT_EQ(small->frames.at(0).info().size, (Size{16, 8}));
  EXPECT_EQ(preview->frames.at(0).info().size, (Size{64, 36}));
}

TEST_F(PreprocessorPicture, TheSizeThatAnEncoderWantsGoesBeforeThatOfItsTap) {
  BoundedTrack track(2);
  const auto sizes_of = [&](video::CustomProcessParams params) {
    preprocessor->RemoveOutputTrack(track.GetWriter());
    preprocessor->AddOutputTrack(kEncoder, params, track.GetWriter());
    preprocessor->SetEncoderOutputSize(params.width, params.height);
    Process(MakeFrame(0, kLive));
    return std::get<PixelFrame>(track.GetReader()->Read()).info().size;
  };
  preprocessor->StartProcessing();
  EXPECT_EQ(sizes_of(Params({32, 18})), (Size{32, 18}));
  WantSize(*track.GetReader(), {32, 18});
  EXPECT_EQ(sizes_of(Params({33, 19})), (Size{32, 18}));
  EXPECT_EQ(sizes_of(Params({-5, 0})), (Size{32, 18}));
  WantSize(*track.GetReader(), {48, 36});
  EXPECT_EQ(sizes_of(Params({33, 19})), (Size{48, 36}));
}

TEST_F(PreprocessorPicture, TheFramesOwnRotationIsAppliedBehindTheCapturedPosition) {
  const auto raw = AddWriter(InterceptPosition::kCaptured, Params({0, 0}, PixelFormat::kNone));
  const auto upright = AddWriter(kPreview, Params({0, 0}, PixelFormat::kNone));
  preprocessor->StartProcessing();
  Process(Halves(VideoRotation::k90));
  EXPECT_EQ(raw->frames.at(0).info().rotation, VideoRotation::k90);
  EXPECT_EQ(raw->frames[0].info().size, kSize);
  EXPECT_EQ(upright->frames.at(0).info().rotation, VideoRotation::k0);
  EXPECT_EQ(upright->frames[0].info().size, (Size{36, 64}));
  EXPECT_TRUE(IsRustAt(upright->frames[0], {0, 0, 36, 32})) << "left has become top";
  EXPECT_FALSE(IsRustAt(upright->frames[0], {0, 32, 36, 32}));
}

TEST_F(PreprocessorPicture, RotationAndMirrorTurnWhatEveryTapReceives) {
  const auto preview = AddWriter(kPreview, Params({0, 0}));
  const auto encoder = AddWriter(kEncoder, Params({0, 0}));
  preprocessor->StartProcessing();
  preprocessor->SetMirror(video::MirrorMode::kEnabled);
  Process(Halves());
  preprocessor->SetMirror(video::MirrorMode::kAuto);
  preprocessor->SetRotation(VideoRotation::k270);
  Process(Halves());
  Process(Halves(VideoRotation::k90));
  for (const auto& tap : {preview, encoder}) {
    ASSERT_EQ(tap->frames.size(), 3U);
    EXPECT_TRUE(IsRustAt(tap->frames[0], {32, 0, 32, 36}));
    EXPECT_TRUE(IsRustAt(tap->frames[1], {0, 32, 36, 32})) << "left has become bottom";
    EXPECT_TRUE(IsRustAt(tap->frames[2], {0, 0, 32, 36})) << "a full turn";
    EXPECT_EQ(tap->frames[2].info().rotation, VideoRotation::k0);
  }
}

TEST_F(PreprocessorPicture, EncoderRotationAndMirrorTurnOnlyWhatEncodersReceive) {
  const auto preview = AddWriter(InterceptPosition::kPreviewWithWatermark, Params({0, 0}));
  const auto encoder = AddWriter(kEncoder, Params({0, 0}));
  preprocessor->StartProcessing();
  preprocessor->SetEncoderMirror(true);
  Process(Halves());
  preprocessor->SetEncoderMirror(false);
  preprocessor->SetEncoderRotation(VideoRotation::k90);
  Process(Halves());
  EXPECT_TRUE(IsRustAt(preview->frames.at(0), {0, 0, 32, 36}));
  EXPECT_TRUE(IsRustAt(preview->frames.at(1), {0, 0, 32, 36}));
  EXPECT_TRUE(IsRustAt(encoder->frames.at(0), {32, 0, 32, 36}));
  EXPECT_EQ(encoder->frames.at(1).info().size, (Size{36, 64}));
  EXPECT_TRUE(IsRustAt(encoder->frames[1], {0, 0, 36, 32}));
}

TEST_F(PreprocessorPicture, InterceptorsSeeTheFrameInTheOrderOfPositionsAndOfAdding) {
  std::vector<std::string> order;
  const auto named = [&](const char* name) {
    return std::make_shared<Listener>([&order, name](const PixelFrame& frame) {
      order.emplace_back(name);
      return frame;
    });
  };
  const auto encoder = named("encoder");
  const auto first = named("first");
  const auto second = named("second");
  const auto captured = named("captured");
  preprocessor->AddInterceptor(kEncoder, {}, encoder);
  preprocessor->AddInterceptor(InterceptPosition::kCustomProcessing, {}, first);
  preprocessor->AddInterceptor(InterceptPosition::kCustomProcessing, {}, second);
  preprocessor->AddInterceptor(InterceptPosition::kCaptured, {}, captured);
  preprocessor->AddInterceptor(static_cast<InterceptPosition>(77), {}, captured);
  preprocessor->StartProcessing();
  Process(MakeFrame(0, kLive));
  EXPECT_THAT(order, ElementsAre("captured", "first", "second", "encoder"));
  EXPECT_THAT(first->positions, ElementsAre(InterceptPosition::kCustomProcessing));
  order.clear();
  preprocessor->RemoveInterceptor(first);
  preprocessor->RemoveInterceptor(captured);
  Process(MakeFrame(1, kLive));
  EXPECT_THAT(order, ElementsAre("second", "encoder"));
}

TEST_F(PreprocessorPicture, AnInterceptorsFrameGoesOnWithTheStreamsTimesAndDelivery) {
  const auto replacing = std::make_shared<Listener>(
      [&](const PixelFrame&) { return FlatFrame(pool, PixelFormat::kBGRA, kSize, kGray); });
  preprocessor->AddInterceptor(InterceptPosition::kCustomProcessing,
                               Params({0, 0}, PixelFormat::kBGRA), replacing);
  const auto before = AddWriter(InterceptPosition::kBeautified, Params(kSize));
  const auto encoder = AddWriter(kEncoder, Params(kSize));
  preprocessor->StartProcessing();
  const PixelFrame plain = MakeFrame(9, kLossless);
  video::PixelFrameInfo info = plain.info();
  info.damaged_frames = 4;
  const PixelFrame frame = plain.WithInfo(info);
  Process(frame);
  EXPECT_EQ(replacing->frames.at(0).info().format, PixelFormat::kBGRA);
  EXPECT_LE(DistanceFrom(replacing->frames[0].info(), kRust), 3);
  EXPECT_EQ(DistanceFrom(before->frames.at(0).info(), kRust), 0);
  EXPECT_LE(DistanceFrom(encoder->frames.at(0).info(), kGray), 2);
  EXPECT_EQ(encoder->frames[0].info().sequence, 9U);
  EXPECT_EQ(encoder->frames[0].info().damaged_frames, 4U);
  EXPECT_EQ(encoder->frames[0].info().timestamp, frame.info().timestamp);
  EXPECT_EQ(encoder->frames[0].info().capture_time, frame.info().capture_time);
  EXPECT_EQ(encoder->frames[0].info().delivery, kLossless);
}

TEST_F(PreprocessorPicture, AnInterceptorThatOnlyLooksCostsTheFrameNothing) {
  const auto looking = std::make_shared<Listener>(Unchanged);
  preprocessor->AddInterceptor(InterceptPosition::kCustomProcessing,
                               Params({0, 0}, PixelFormat::kBGRA), looking);
  const auto encoder = AddWriter(kEncoder, Params(kSize));
  preprocessor->StartProcessing();
  const PixelFrame frame = MakeFrame(0, kLive);
  Process(frame);
  EXPECT_EQ(encoder->frames.at(0).owner(), frame.owner());
}

TEST_F(PreprocessorPicture, AnInterceptorThatAnswersNothingDropsTheFrame) {
  const auto dropping = std::make_shared<Listener>([](const PixelFrame&) { return PixelFrame(); });
  const auto behind = std::make_shared<Listener>(Unchanged);
  preprocessor->AddInterceptor(InterceptPosition::kCustomProcessing, {}, dropping);
  preprocessor->AddInterceptor(InterceptPosition::kCustomProcessing, {}, behind);
  const auto before = AddWriter(InterceptPosition::kBeautified, Params(kSize));
  const auto encoder = AddWriter(kEncoder, Params(kSize));
  preprocessor->StartProcessing();
  Process(MakeFrame(0, kLive));
  EXPECT_EQ(before->frames.size(), 1U);
  EXPECT_THAT(behind->frames, IsEmpty());
  EXPECT_THAT(encoder->frames, IsEmpty());
}

TEST_F(PreprocessorPicture, AHeldFrameMeetsTheInterceptorsOnce) {
  const auto listener = std::make_shared<Listener>(Unchanged);
  preprocessor->AddInterceptor(InterceptPosition::kCustomProcessing, {}, listener);
  const auto track = AddTrack(kEncoder);
  preprocessor->StartProcessing();
  Process(MakeFrame(0, kLossless));
  Process(MakeFrame(1, kLossless));
  preprocessor->StartProcessing();  // Wakes it for nothing.
  queue->RunAll();
  EXPECT_EQ(listener->frames.size(), 1U);
  EXPECT_EQ(Read(track), "0");
  queue->RunAll();
  EXPECT_EQ(listener->frames.size(), 2U);
}

TEST_F(PreprocessorPicture, WhatIsRemovedWhileAFrameIsInProgressIsNotGivenIt) {
  const auto removed = std::make_shared<RecordingWriter>();
  const auto removed_listener = std::make_shared<Listener>(Unchanged);
  const auto remover = std::make_shared<Listener>([&](const PixelFrame& frame) {
    preprocessor->RemoveOutputTrack(removed);
    preprocessor->RemoveInterceptor(removed_listener);
    return frame;
  });
  preprocessor->AddInterceptor(InterceptPosition::kCustomProcessing, {}, remover);
  preprocessor->AddInterceptor(InterceptPosition::kCustomProcessing, {}, removed_listener);
  preprocessor->AddOutputTrack(kPreview, Params(kSize), removed);
  const auto kept = AddWriter(kPreview, Params(kSize));
  preprocessor->StartProcessing();
  Process(MakeFrame(0, kLive));
  EXPECT_THAT(removed->frames, IsEmpty());
  EXPECT_THAT(removed_listener->frames, IsEmpty());
  EXPECT_EQ(kept->frames.size(), 1U);
}

TEST_F(PreprocessorPicture, ATapThatAnotherOnesWriterRemovesIsNotWrittenToAnyMore) {
  const auto removed = std::make_shared<RecordingWriter>();
  const auto remover = std::make_shared<RecordingWriter>();
  remover->on_write = [&] { preprocessor->RemoveOutputTrack(removed); };
  preprocessor->AddOutputTrack(kPreview, Params(kSize), removed);
  preprocessor->AddOutputTrack(kPreview, Params({32, 18}), remover);
  preprocessor->StartProcessing();
  Process(MakeFrame(0, kLive));
  EXPECT_EQ(remover->frames.size(), 1U);
  EXPECT_TRUE(removed->frames.empty());
}

TEST_F(PreprocessorPicture, AnEncoderRemovedWhileAFrameIsInProgressStillGetsThatOne) {
  const auto removed = std::make_shared<RecordingWriter>();
  const auto remover = std::make_shared<Listener>([&](const PixelFrame& frame) {
    preprocessor->RemoveOutputTrack(removed);
    return frame;
  });
  preprocessor->AddInterceptor(InterceptPosition::kCustomProcessing, {}, remover);
  preprocessor->AddOutputTrack(kEncoder, Params(kSize), removed);
  preprocessor->StartProcessing();
  Process(MakeFrame(0, kLossless));
  Process(MakeFrame(1, kLossless));
  EXPECT_EQ(removed->frames.size(), 1U);
}

TEST_F(PreprocessorPicture, AStopWhileAFrameIsInProgressEndsItThere) {
  const auto stopper = std::make_shared<Listener>([&](const PixelFrame& frame) {
    preprocessor->StopProcessing();
    preprocessor->StartProcessing();
    return frame;
  });
  const auto behind = std::make_shared<Listener>(Unchanged);
  preprocessor->AddInterceptor(InterceptPosition::kCustomProcessing, {}, stopper);
  preprocessor->AddInterceptor(InterceptPosition::kCustomProcessing, {}, behind);
  const auto tap = AddWriter(kEncoder, Params(kSize));
  preprocessor->StartProcessing();
  Process(MakeFrame(0, kLive));
  EXPECT_THAT(tap->frames, IsEmpty());
  EXPECT_THAT(behind->frames, IsEmpty());
  preprocessor->RemoveInterceptor(stopper);
  Process(MakeFrame(1, kLive));
  EXPECT_EQ(tap->frames.size(), 1U);
}

// Collects what snapshots were answered.
class PreprocessorSnapshot : public PreprocessorPicture {
 protected:
  void Ask() {
    preprocessor->Snapshot(movra_base::BindOnce(
        [this](std::shared_ptr<Image> image) { answers_.push_back(std::move(image)); }));
  }

  std::vector<std::shared_ptr<Image>> answers_;
};

TEST_F(PreprocessorSnapshot, AnswersOnceWithTheNextFrameUprightAsBgra) {
  preprocessor->StartProcessing();
  Ask();
  Ask();
  EXPECT_THAT(answers_, IsEmpty());
  Process(Halves(VideoRotation::k90));
  Process(Halves());
  ASSERT_EQ(answers_.size(), 2U);
  for (const auto& image : answers_) {
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->frame().info().format, PixelFormat::kBGRA);
    EXPECT_EQ(image->frame().info().size, (Size{36, 64}));
    EXPECT_LE(DistanceFrom(CropTo(image->frame().info(), {0, 0, 36, 30}), kRust), 3);
  }
}

TEST_F(PreprocessorSnapshot, ADroppedFrameDoesNotAnswerIt) {
  const auto dropping = std::make_shared<Listener>([](const PixelFrame&) { return PixelFrame(); });
  preprocessor->AddInterceptor(InterceptPosition::kCustomProcessing, {}, dropping);
  preprocessor->StartProcessing();
  Ask();
  Process(MakeFrame(0, kLive));
  EXPECT_THAT(answers_, IsEmpty());
  preprocessor->RemoveInterceptor(dropping);
  Process(MakeFrame(1, kLive));
  EXPECT_EQ(answers_.size(), 1U);
}

TEST_F(PreprocessorSnapshot, AnswersNullWhenProcessingStopsOrIsStoppedOrItDies) {
  Ask();
  EXPECT_THAT(answers_, ElementsAre(nullptr)) << "nothing is running";
  preprocessor->StartProcessing();
  Ask();
  EXPECT_EQ(answers_.size(), 1U);
  preprocessor->StopProcessing();
  EXPECT_THAT(answers_, ElementsAre(nullptr, nullptr));
  preprocessor->StartProcessing();
  Ask();
  preprocessor.reset();
  EXPECT_THAT(answers_, ElementsAre(nullptr, nullptr, nullptr));
}

TEST_F(PreprocessorPicture, EachEffectThatIsNotThereYetIsReportedOnceAndTurningItOffIsNot) {
  movra_logging::RecordingSink log;
  preprocessor->SetBeautyLevel(0);
  preprocessor->SetWhitenessLevel(0);
  preprocessor->SetRuddyLevel(0);
  preprocessor->SetLUTColorFilter(nullptr);
  preprocessor->SetLUTColorFilterStrength(0.5F);
  preprocessor->SetGreenScreenParams({});
  preprocessor->SetWatermark(nullptr, 0, 0, 0, false);
  preprocessor->SetCoverImageParams(nullptr);
  EXPECT_THAT(log.texts(), IsEmpty());

  const auto image = std::make_shared<Image>(PixelFrame());
  video::GreenScreenParams green;
  green.enabled = true;
  for (int i = 0; i < 2; ++i) {
    preprocessor->SetBeautyStyle(video::BeautyStyle::kClear);
    preprocessor->SetBeautyLevel(0.5F);
    preprocessor->SetWhitenessLevel(0.5F);
    preprocessor->SetRuddyLevel(0.5F);
    preprocessor->SetLUTColorFilter(image);
    preprocessor->SetLUTColorFilter(nullptr, 0, image, 1, 0.5F);
    preprocessor->SetGreenScreenParams(green);
    preprocessor->SetWatermark(image, 0, 0, 0.1, true);
    preprocessor->SetCoverImageParams(std::make_shared<video::VideoCoverImageParams>());
  }
  const std::string prefix = "[trace:7][main] Not available yet, pictures stay as they are:";
  EXPECT_THAT(log.texts(),
              ElementsAre(prefix + "beauty", prefix + "colour filter", prefix + "green screen",
                          prefix + "watermark", prefix + "cover image"));
}

TEST_F(PreprocessorPicture, WhatOnlyOthersNeedToKnowIsAccepted) {
  const auto tap = AddWriter(kEncoder, Params(kSize));
  preprocessor->SetSourceType(video::VideoSourceType::kScreen);
  preprocessor->SetProducerMode(static_cast<video::ProducerMode>(9));
  preprocessor->SetFrameAdaptiveFlag(true);
  preprocessor->SetGSensorMode(video::GSensorMode::kFollowLayout);
  preprocessor->StartProcessing();
  Process(MakeFrame(0, kLive));
  EXPECT_EQ(DistanceFrom(tap->frames.at(0).info(), kRust), 0);
}

}  // namespace
}  // namespace movra::media
