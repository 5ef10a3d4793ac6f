// What an application gives wrongly is told, once, and does no harm.

#include <memory>
#include <string>
#include <utility>

#include "logging/recording_sink_for_test.h"
#include "media/preprocess/preprocessor_fixture_for_test.h"

namespace movra::media {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using video::InterceptPosition;
using video::PixelFrame;
using video::TrackWriteResult;

class IdleListener final : public video::VideoInterceptorListener {
 public:
  PixelFrame OnInterceptFrame(InterceptPosition /*position*/, PixelFrame frame) override {
    ++calls;
    return frame;
  }
  int calls = 0;
};

// An application's reader, which looks at nothing.
class OwnReader final : public video::IPixelFrameTrackReader {
 public:
  [[nodiscard]] std::uint32_t GetCaptureStat() override { return 0; }
  [[nodiscard]] video::TrackItem Read() override { return std::exchange(item, {}); }
  void SetReadableCallback(std::function<void()> callback) override {
    readable = std::move(callback);
  }
  video::TrackItem item;
  std::function<void()> readable;
};

class PreprocessorMisuse : public PreprocessorTest {
 protected:
  static constexpr InterceptPosition kNowhere = static_cast<InterceptPosition>(6);

  PreprocessorMisuse() { core::SetMainQueue(main_queue); }
  ~PreprocessorMisuse() override { core::SetMainQueue(nullptr); }

  void Process(std::uint64_t sequence) {
    ASSERT_EQ(Send(sequence, kLive), TrackWriteResult::kAccepted);
    queue->RunAll();
  }

  PixelFrame FrameWithoutAPlane() {
    const PixelFrame frame = MakeFrame(0, kLive);
    video::PixelFrameInfo info = frame.info();
    info.planes[2].data = nullptr;
    return frame.WithInfo(info);
  }

  movra_logging::RecordingSink log;
  std::shared_ptr<ManualQueue> main_queue = std::make_shared<ManualQueue>();
  std::shared_ptr<RecordingWriter> witness = std::make_shared<RecordingWriter>();
};

TEST_F(PreprocessorMisuse, ItsInputTrackRefusesWhatItCouldNotUse) {
  EXPECT_EQ(source->GetWriter()->Write(FrameWithoutAPlane()), TrackWriteResult::kInvalid);
  EXPECT_EQ(source->GetWriter()->Write(FrameWithoutAPlane()), TrackWriteResult::kInvalid);
  EXPECT_THAT(log.texts(),
              ElementsAre("[trace:7][main] custom frame: I420 64x36, plane 2 is null"));
}

TEST_F(PreprocessorMisuse, AUselessFrameThatWaitedOrCameFromAReaderOfOnesOwnIsLeftOut) {
  const auto early = video::IPixelFrameTrack::Create("early", 2);
  ASSERT_EQ(early->GetWriter()->Write(FrameWithoutAPlane()), TrackWriteResult::kAccepted);
  ASSERT_EQ(early->GetWriter()->Write(MakeFrame(1, kLive)), TrackWriteResult::kAccepted);
  preprocessor->AddOutputTrack(kPreview, Params({32, 18}), witness);
  preprocessor->SetInputTrackReader(early->GetReader());
  preprocessor->StartProcessing();
  queue->RunAll();
  EXPECT_THAT(witness->frames, SizeIs(1));
  EXPECT_THAT(log.texts(), ElementsAre(HasSubstr("custom frame: I420 64x36, plane 2 is null")));
  EXPECT_EQ(preprocessor->GetStats(), 1U);

  const auto reader = std::make_shared<OwnReader>();
  preprocessor->SetInputTrackReader(reader);
  for (int i = 0; i < 2; ++i) {
    reader->item = FrameWithoutAPlane();
    reader->readable();
    queue->RunAll();
  }
  EXPECT_THAT(log.texts(), SizeIs(2)) << "told once for each input";
  EXPECT_THAT(witness->frames, SizeIs(1));
}

TEST_F(PreprocessorMisuse, AWriterOrListenerThatWasATemporaryIsToldOnce) {
  preprocessor->StartProcessing();
  preprocessor->AddInterceptor(kPreview, {}, std::make_shared<IdleListener>());
  preprocessor->AddOutputTrack(InterceptPosition::kCaptured, Params(kSize),
                               std::make_shared<RecordingWriter>());
  EXPECT_THAT(log.lines(), IsEmpty());
  Process(0);
  Process(1);
  EXPECT_THAT(log.texts(),
              ElementsAre("[trace:7][main] The frame writer at kCaptured was gone before its first "
                          "frame: it is held weakly, keep it alive",
                          "[trace:7][main] The interceptor at kPreview was gone before its first "
                          "frame: it is held weakly, keep it alive"));
  EXPECT_EQ(log.lines().at(0).level, movra_logging::kLogLevelWarning);
}

TEST_F(PreprocessorMisuse, ATemporaryIsToldOfWhenItDropsOutBeforeAnyFrame) {
  preprocessor->AddOutputTrack(kPreview, Params(kSize), std::make_shared<RecordingWriter>());
  preprocessor->AddOutputTrack(kPreview, Params(kSize), witness);
  EXPECT_THAT(log.texts(), ElementsAre(HasSubstr("The frame writer at kPreview was gone")));
}

TEST_F(PreprocessorMisuse, OneThatIsGoneAlreadyIsTold) {
  auto writer = std::make_shared<RecordingWriter>();
  const std::weak_ptr<video::IPixelFrameTrackWriter> gone = writer;
  writer.reset();
  preprocessor->AddOutputTrack(kPreview, Params(kSize), gone);
  EXPECT_THAT(log.texts(), ElementsAre(HasSubstr("The frame writer at kPreview was gone")));
}

TEST_F(PreprocessorMisuse, WhatWasUsedOrRemovedDropsOutInSilence) {
  preprocessor->StartProcessing();
  auto used = std::make_shared<RecordingWriter>();
  auto listener = std::make_shared<IdleListener>();
  auto removed = std::make_shared<RecordingWriter>();
  preprocessor->AddOutputTrack(kPreview, Params(kSize), used);
  preprocessor->AddInterceptor(kPreview, {}, listener);
  Process(0);
  preprocessor->AddOutputTrack(kPreview, Params(kSize), removed);
  preprocessor->RemoveOutputTrack(removed);
  used.reset();
  listener.reset();
  removed.reset();
  Process(1);
  preprocessor->AddOutputTrack(kPreview, Params(kSize), witness);
  preprocessor->AddInterceptor(kPreview, {}, std::make_shared<IdleListener>());
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(PreprocessorMisuse, APositionThatThereIsNotIsRefused) {
  const auto listener = std::make_shared<IdleListener>();
  preprocessor->StartProcessing();
  preprocessor->AddInterceptor(kNowhere, {}, listener);
  preprocessor->AddOutputTrack(kNowhere, Params(kSize), witness);
  Process(0);
  source->GetWriter()->WriteEnd({});
  queue->RunAll();
  EXPECT_EQ(listener->calls, 0);
  EXPECT_THAT(witness->ends, IsEmpty()) << "ends go to all that were added";
  EXPECT_THAT(log.texts(), ElementsAre("[trace:7][main] There is no position InterceptPosition(6): "
                                       "the interceptor is not added",
                                       "[trace:7][main] There is no position InterceptPosition(6): "
                                       "the frame writer is not added"));
}

class PreprocessorWithoutInput : public PreprocessorMisuse {
 protected:
  PreprocessorWithoutInput() {
    preprocessor->SetInputTrackReader({});
    preprocessor->StartProcessing();
    main_queue->RunAll();
    EXPECT_THAT(log.lines(), IsEmpty()) << "a producer that begins has no source yet";
    preprocessor->StopProcessing();
  }
};

TEST_F(PreprocessorWithoutInput, ItIsToldOnceForARunThatBeginsAnew) {
  preprocessor->StartProcessing();
  preprocessor->StartProcessing();
  EXPECT_THAT(log.lines(), IsEmpty());
  main_queue->RunAll();
  queue->RunAll();
  EXPECT_THAT(log.texts(),
              ElementsAre("[trace:7][main] No input is connected: SetCustomCaptureInputTrack "
                          "connects one that is set after EnableCustomCapturing(true), not "
                          "before"));
}

TEST_F(PreprocessorWithoutInput, NothingIsToldOnceItIsConnectedOrStopped) {
  preprocessor->StartProcessing();
  preprocessor->StopProcessing();
  preprocessor->StartProcessing();
  preprocessor->SetInputTrackReader(source->GetReader());
  main_queue->RunAll();
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_F(PreprocessorWithoutInput, AReaderThatWasATemporaryIsTold) {
  preprocessor->StartProcessing();
  preprocessor->SetInputTrackReader(std::make_shared<OwnReader>());
  main_queue->RunAll();
  EXPECT_THAT(log.texts(), ElementsAre(HasSubstr("The reader of the input was gone before its "
                                                 "first frame: it is held weakly")));
}

TEST_F(PreprocessorWithoutInput, AnInputThatWasThereMayGo) {
  preprocessor->StartProcessing();
  auto reader = std::make_shared<OwnReader>();
  preprocessor->SetInputTrackReader(reader);
  reader->readable();
  queue->RunAll();
  reader.reset();
  main_queue->RunAll();
  EXPECT_THAT(log.lines(), IsEmpty());
}

}  // namespace
}  // namespace movra::media
