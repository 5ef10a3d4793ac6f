// Interceptors that draw: in place where nobody else has the frame.

#include <cstdint>
#include <functional>
#include <memory>
#include <stdexcept>
#include <utility>

#include "logging/recording_sink_for_test.h"
#include "media/preprocess/preprocessor_fixture_for_test.h"

namespace movra::media {
namespace {

using video::InterceptPosition;
using video::PixelFormat;
using video::PixelFrame;

// Makes each picture gray. Its pool counts the copies that this takes.
class Painter final : public video::VideoInterceptorListener {
 public:
  PixelFrame OnInterceptFrame(InterceptPosition /*position*/, PixelFrame frame) override {
    WritableFrame picture = WritableFrame::Of(std::move(frame), pool_);
    Fill(picture, {0, 0, picture.info().size.width, picture.info().size.height}, kGray);
    if (behind) behind();
    return std::move(picture).Finish();
  }

  [[nodiscard]] std::uint64_t copies() const { return pool_.allocations(); }

  std::function<void()> behind;

 private:
  FramePool pool_;
};

class PreprocessorIntercept : public PreprocessorTest {
 protected:
  PreprocessorIntercept() {
    preprocessor->AddOutputTrack(kEncoder, Params({0, 0}, PixelFormat::kNone), encoder);
    preprocessor->StartProcessing();
  }

  // A frame of rust from end to end; returns where its samples were.
  const std::uint8_t* Process() {
    PixelFrame frame = MakeFrame(0, kLive);
    const std::uint8_t* const samples = frame.info().planes[0].data;
    EXPECT_EQ(source->GetWriter()->Write(std::move(frame)), video::TrackWriteResult::kAccepted);
    queue->RunAll();
    return samples;
  }

  std::shared_ptr<Painter> painter = std::make_shared<Painter>();
  std::shared_ptr<RecordingWriter> encoder = std::make_shared<RecordingWriter>();
};

TEST_F(PreprocessorIntercept, AFrameThatNobodyElseHasIsDrawnInPlace) {
  preprocessor->AddInterceptor(kPreview, {}, painter);
  const std::uint8_t* const samples = Process();
  ASSERT_EQ(encoder->frames.size(), 1U);
  EXPECT_EQ(encoder->frames[0].info().planes[0].data, samples);
  EXPECT_EQ(DistanceFrom(encoder->frames[0].info(), kGray), 0);
  EXPECT_EQ(painter->copies(), 0U);
}

TEST_F(PreprocessorIntercept, AFrameThatATapHasIsCopiedAndTheTapSeesNoChange) {
  const auto tap = std::make_shared<RecordingWriter>();
  preprocessor->AddOutputTrack(InterceptPosition::kCaptured, Params({0, 0}, PixelFormat::kNone),
                               tap);
  preprocessor->AddInterceptor(kPreview, {}, painter);
  Process();
  ASSERT_EQ(encoder->frames.size(), 1U);
  ASSERT_EQ(tap->frames.size(), 1U);
  EXPECT_EQ(DistanceFrom(encoder->frames[0].info(), kGray), 0);
  EXPECT_EQ(DistanceFrom(tap->frames[0].info(), kRust), 0);
  EXPECT_EQ(painter->copies(), 1U);
}

TEST_F(PreprocessorIntercept, WhatIsDrawnInPlaceIntoAConvertedPictureGoesOn) {
  preprocessor->AddInterceptor(kPreview, Params({0, 0}, PixelFormat::kBGRA), painter);
  Process();
  ASSERT_EQ(encoder->frames.size(), 1U);
  EXPECT_EQ(encoder->frames[0].info().format, PixelFormat::kBGRA);
  EXPECT_EQ(DistanceFrom(encoder->frames[0].info(), kGray), 0);
  EXPECT_EQ(painter->copies(), 0U);
}

TEST_F(PreprocessorIntercept, SeveralDrawInPlaceOneAfterTheOther) {
  const auto second = std::make_shared<Painter>();
  preprocessor->AddInterceptor(kPreview, {}, painter);
  preprocessor->AddInterceptor(kPreview, {}, second);
  Process();
  EXPECT_EQ(painter->copies() + second->copies(), 0U);
}

TEST_F(PreprocessorIntercept, WhoDrewAndThenThrowsLeavesTheFrameAsFarAsItWasDrawn) {
  const movra_logging::RecordingSink log;
  painter->behind = [] { throw std::runtime_error("broken"); };
  preprocessor->AddInterceptor(kPreview, {}, painter);
  Process();
  ASSERT_EQ(encoder->frames.size(), 1U);
  EXPECT_EQ(DistanceFrom(encoder->frames[0].info(), kGray), 0);
}

}  // namespace
}  // namespace movra::media
