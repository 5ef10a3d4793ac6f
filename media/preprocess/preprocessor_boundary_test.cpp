// What the application's ends, listeners and callbacks throw is told once and ends there.

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

#include "logging/recording_sink_for_test.h"
#include "media/preprocess/preprocessor_fixture_for_test.h"

namespace movra::media {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using video::PixelFrame;
using video::TrackWriteResult;

[[noreturn]] void Throw() { throw std::runtime_error("broken"); }

class ThrowingListener final : public video::VideoInterceptorListener {
 public:
  PixelFrame OnInterceptFrame(video::InterceptPosition /*position*/,
                              PixelFrame /*frame*/) override {
    ++calls;
    Throw();
  }
  int calls = 0;
};

// Throws where it is told to.
class ThrowingWriter final : public video::IPixelFrameTrackWriter {
 public:
  enum Where { kWrite, kEnd, kHasRoom, kSetRoomCallback };

  explicit ThrowingWriter(Where where) : where_(where) {}

  TrackWriteResult Write(PixelFrame /*frame*/) override {
    ++calls;
    if (where_ == kWrite) Throw();
    return TrackWriteResult::kAccepted;
  }
  void WriteEnd(const video::StreamEnd& /*end*/) override {
    ++calls;
    if (where_ == kEnd) Throw();
  }
  [[nodiscard]] bool HasRoom() const override {
    if (where_ == kHasRoom) Throw();
    return true;
  }
  void SetRoomCallback(std::function<void()> /*callback*/) override {
    if (where_ == kSetRoomCallback) Throw();
  }

  int calls = 0;

 private:
  const Where where_;
};

class ThrowingReader final : public video::IPixelFrameTrackReader {
 public:
  [[nodiscard]] std::uint32_t GetCaptureStat() override { return 0; }
  [[nodiscard]] video::TrackItem Read() override {
    ++reads;
    Throw();
  }
  void SetReadableCallback(std::function<void()> /*callback*/) override { Throw(); }
  int reads = 0;
};

class PreprocessorBoundary : public PreprocessorTest {
 protected:
  PreprocessorBoundary() {
    preprocessor->AddOutputTrack(kEncoder, Params(kSize), witness);
    preprocessor->StartProcessing();
  }

  void SendTwoAndTheEnd() {
    for (std::uint64_t i = 0; i < 2; ++i) {
      ASSERT_EQ(Send(i, kLossless), TrackWriteResult::kAccepted);
      queue->RunAll();
    }
    source->GetWriter()->WriteEnd({});
    queue->RunAll();
    EXPECT_EQ(witness->frames.size(), 2U);
    EXPECT_EQ(witness->ends.size(), 1U);
  }

  movra_logging::RecordingSink log;
  std::shared_ptr<RecordingWriter> witness = std::make_shared<RecordingWriter>();
};

TEST_F(PreprocessorBoundary, AnInterceptorThatThrowsIsLeftOutAndTheFrameGoesOn) {
  const auto listener = std::make_shared<ThrowingListener>();
  preprocessor->AddInterceptor(kPreview, {}, listener);
  SendTwoAndTheEnd();
  EXPECT_EQ(listener->calls, 1);
  EXPECT_THAT(log.texts(), ElementsAre("The interceptor at kPreview threw: broken"));
}

TEST_F(PreprocessorBoundary, AWriterThatThrowsReceivesNothingMore) {
  for (const auto position : {kPreview, kEncoder}) {
    const auto writer = std::make_shared<ThrowingWriter>(ThrowingWriter::kWrite);
    preprocessor->AddOutputTrack(position, Params(kSize), writer);
    SendTwoAndTheEnd();
    witness->frames.clear();
    witness->ends.clear();
    EXPECT_EQ(writer->calls, 1);
  }
  EXPECT_THAT(log.texts(), ElementsAre("The frame writer at kPreview threw: broken",
                                       "The frame writer at kEncoder threw: broken"));
}

TEST_F(PreprocessorBoundary, AWriterThatIsAddedAnewReceivesFramesAgain) {
  const auto writer = std::make_shared<ThrowingWriter>(ThrowingWriter::kWrite);
  for (int i = 0; i < 2; ++i) {
    preprocessor->AddOutputTrack(kEncoder, Params(kSize), writer);
    ASSERT_EQ(Send(0, kLive), TrackWriteResult::kAccepted);
    queue->RunAll();
    preprocessor->RemoveOutputTrack(writer);
    queue->RunAll();
  }
  EXPECT_EQ(writer->calls, 2);
}

TEST_F(PreprocessorBoundary, AWriterThatThrowsAtTheEndKeepsItFromNobody) {
  const auto writer = std::make_shared<ThrowingWriter>(ThrowingWriter::kEnd);
  preprocessor->RemoveOutputTrack(witness);
  preprocessor->AddOutputTrack(kEncoder, Params(kSize), writer);
  preprocessor->AddOutputTrack(kEncoder, Params(kSize), witness);
  SendTwoAndTheEnd();
  EXPECT_EQ(writer->calls, 3);
}

TEST_F(PreprocessorBoundary, AWriterThatThrowsWhenItIsAskedForRoomHoldsNobodyBack) {
  const auto writer = std::make_shared<ThrowingWriter>(ThrowingWriter::kHasRoom);
  preprocessor->AddOutputTrack(kEncoder, Params(kSize), writer);
  SendTwoAndTheEnd();
  EXPECT_EQ(writer->calls, 0);
  EXPECT_THAT(log.texts(), ElementsAre("The frame writer at kEncoder threw: broken"));
}

TEST_F(PreprocessorBoundary, AWriterThatTakesNoRoomCallbackIsAWriterAllTheSame) {
  const auto writer = std::make_shared<ThrowingWriter>(ThrowingWriter::kSetRoomCallback);
  preprocessor->AddOutputTrack(kEncoder, Params(kSize), writer);
  SendTwoAndTheEnd();
  preprocessor->RemoveOutputTrack(writer);
  EXPECT_EQ(writer->calls, 3);
}

TEST_F(PreprocessorBoundary, AReaderThatThrowsIsReadOnce) {
  const auto reader = std::make_shared<ThrowingReader>();
  preprocessor->SetInputTrackReader(reader);
  for (int i = 0; i < 3; ++i) {
    preprocessor->StartProcessing();
    queue->RunAll();
  }
  EXPECT_EQ(reader->reads, 1);
  preprocessor->SetInputTrackReader(source->GetReader());
  SendTwoAndTheEnd();
}

TEST_F(PreprocessorBoundary, ASnapshotsCallbackThatThrowsKeepsTheAnswerFromNobody) {
  int answers = 0;
  using Image = std::shared_ptr<video::ObjcWrapper<NSImage>>;
  preprocessor->Snapshot(movra_base::BindOnce([](Image) { Throw(); }));
  preprocessor->Snapshot(movra_base::BindOnce([&](Image) { ++answers; }));
  SendTwoAndTheEnd();
  EXPECT_EQ(answers, 1);
}

TEST_F(PreprocessorBoundary, ASnapshotsCallbackThatThrowsIsToldWhenNothingRunsToo) {
  preprocessor->StopProcessing();
  using Image = std::shared_ptr<video::ObjcWrapper<NSImage>>;
  EXPECT_NO_THROW(preprocessor->Snapshot(movra_base::BindOnce([](Image) { Throw(); })));
  EXPECT_THAT(log.texts(), ElementsAre("The callback of a snapshot threw: broken"));
}

}  // namespace
}  // namespace movra::media
