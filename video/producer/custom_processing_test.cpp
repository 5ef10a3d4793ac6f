// Where the application reaches into the road of the frames: its processing, its taps and its
// interceptors.

#include <cstdint>
#include <functional>
#include <memory>
#include <ostream>
#include <sstream>
#include <string>
#include <utility>

#include "logging/log_filter.h"
#include "logging/log_sink.h"
#include "video/producer/producer_test_fixture.h"
#include "video/to_string.h"

namespace movra::video {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::Values;

constexpr char kQueueCheck[] = "main_queue.IsCurrent()";

class FrameAccess : public ProducerTest {
 protected:
  [[nodiscard]] const auto& listener() const { return listener_; }
  [[nodiscard]] const auto& writer() const { return writer_; }
  void ReleaseListener() { listener_.reset(); }
  void ReleaseWriter() { writer_.reset(); }

  [[nodiscard]] testing::PreprocessorDouble& preprocessor() { return world().preprocessors.Last(); }

  // As a stream prints it.
  [[nodiscard]] std::string AddressOfWriter() const {
    std::ostringstream text;
    text << static_cast<const void*>(static_cast<IPixelFrameTrackWriter*>(writer_.get()));
    return text.str();
  }

 private:
  std::shared_ptr<testing::ListenerDouble> listener_ =
      env().Make<testing::ListenerDouble>("listener");
  std::shared_ptr<testing::FrameWriterDouble> writer_ =
      env().Make<testing::FrameWriterDouble>("writer");
};
class CustomProcessing : public FrameAccess {};
class ShuntTrack : public FrameAccess {};
class Interceptor : public FrameAccess {};

// Custom processing.

TEST_F(CustomProcessing, EnabledAddsTheListenerAtItsPosition) {
  const auto producer = MakeProducer();
  journal().LeaveOut(0);
  EXPECT_THAT(
      EntriesOf([&] {
        producer->EnableCustomProcessing(true, PixelFormat::kNV12, BufferType::kTexture,
                                         listener());
      }),
      ElementsAre(kQueueCheck, Info("Enable custom process with format:kNV12, type:kTexture"),
                  "preprocessor.AddInterceptor(kCustomProcessing, {0x0 disabled kTexture "
                  "kNV12 kBig}, listener)"));
  EXPECT_THAT(OriginsOfLogLines(), ElementsAre(OriginIn("EnableCustomProcessing")));
}

TEST_F(CustomProcessing, EnabledWithoutAFormatRemovesTheListener) {
  const auto producer = MakeProducer();
  journal().LeaveOut(0);
  EXPECT_THAT(
      EntriesOf([&] {
        producer->EnableCustomProcessing(true, PixelFormat::kNone, BufferType::kMemory, listener());
      }),
      ElementsAre(kQueueCheck, Info("Enable custom process with format:kNone, type:kMemory"),
                  "preprocessor.RemoveInterceptor(listener)"));
}

class CustomProcessingOf : public CustomProcessing,
                           public ::testing::WithParamInterface<std::pair<int, int>> {
 protected:
  [[nodiscard]] static PixelFormat Format() { return static_cast<PixelFormat>(GetParam().first); }
  [[nodiscard]] static BufferType Type() { return static_cast<BufferType>(GetParam().second); }
  [[nodiscard]] static std::string Words() {
    return " custom process with format:" + PixelFormatToString(Format()) +
           ", type:" + BufferTypeToString(Type());
  }
};
INSTANTIATE_TEST_SUITE_P(EveryFormatAndType, CustomProcessingOf,
                         Values(std::pair(0, 0), std::pair(1, 1), std::pair(7, -1),
                                std::pair(-2, 0), std::pair(77, 88)));

TEST_P(CustomProcessingOf, EnabledAsksForThem) {
  const auto producer = MakeProducer();
  EXPECT_THAT(
      EntriesOf([&] { producer->EnableCustomProcessing(true, Format(), Type(), listener()); }),
      ElementsAre(Info("Enable" + Words()),
                  "preprocessor.AddInterceptor(kCustomProcessing, {0x0 disabled " +
                      BufferTypeToString(Type()) + " " + PixelFormatToString(Format()) +
                      " kBig}, listener)"));
}

TEST_P(CustomProcessingOf, DisabledRemovesTheListenerAndLogsThem) {
  const auto producer = MakeProducer();
  EXPECT_THAT(
      EntriesOf([&] { producer->EnableCustomProcessing(false, Format(), Type(), listener()); }),
      ElementsAre(Info("Disable" + Words()), "preprocessor.RemoveInterceptor(listener)"));
}

TEST_F(CustomProcessing, DisabledWithoutAFormatRemovesTheListener) {
  const auto producer = MakeProducer();
  EXPECT_THAT(EntriesOf([&] {
                producer->EnableCustomProcessing(false, PixelFormat::kNone, BufferType::kMemory,
                                                 listener());
              }),
              ElementsAre(Info("Disable custom process with format:kNone, type:kMemory"),
                          "preprocessor.RemoveInterceptor(listener)"));
}

TEST_F(CustomProcessing, PassesANullListenerOn) {
  const auto producer = MakeProducer();
  EXPECT_EQ(EntriesOf([&] {
              producer->EnableCustomProcessing(true, PixelFormat::kI420, BufferType::kMemory,
                                               nullptr);
            }).back(),
            "preprocessor.AddInterceptor(kCustomProcessing, {0x0 disabled kMemory kI420 kBig}, "
            "null)");
  EXPECT_EQ(EntriesOf([&] {
              producer->EnableCustomProcessing(false, PixelFormat::kI420, BufferType::kMemory,
                                               nullptr);
            }).back(),
            "preprocessor.RemoveInterceptor(null)");
}

TEST_F(CustomProcessing, OfASmallStreamsProducerAsksAsThatOfEveryOther) {
  const auto producer = MakeProducer(VideoStreamType::kSmall);
  EXPECT_EQ(EntriesOf([&] {
              producer->EnableCustomProcessing(true, PixelFormat::kI420, BufferType::kMemory,
                                               listener());
            }).back(),
            "preprocessor.AddInterceptor(kCustomProcessing, {0x0 disabled kMemory kI420 kBig}, "
            "listener)");
}

TEST_F(CustomProcessing, LeavesTheListenerWithTheApplication) {
  const auto producer = MakeProducer();
  producer->EnableCustomProcessing(true, PixelFormat::kI420, BufferType::kMemory, listener());
  EXPECT_THAT(preprocessor().interceptors(), SizeIs(1));
  EXPECT_THAT(EntriesOf([&] { ReleaseListener(); }), ElementsAre("~listener"));
  EXPECT_THAT(preprocessor().interceptors(), IsEmpty());
}

// Shunt tracks.

TEST_F(ShuntTrack, IsAddedAtThePositionInTheFormat) {
  const auto producer = MakeProducer();
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOf([&] {
                producer->AddVideoShuntTrack(InterceptPosition::kBeautified, PixelFormat::kBGRA,
                                             BufferType::kTexture, writer());
              }),
              ElementsAre(kQueueCheck,
                          Info("Add shunt track pos:kBeautified format:kBGRA type:kTexture "
                               "writer:" +
                               AddressOfWriter()),
                          "preprocessor.AddOutputTrack(kBeautified, {0x0 enabled kTexture kBGRA "
                          "kBig}, writer)"));
  EXPECT_THAT(OriginsOfLogLines(), ElementsAre(OriginIn("AddVideoShuntTrack")));
}

TEST_F(ShuntTrack, OfASmallStreamsProducerIsAddedAsThatOfEveryOther) {
  const auto producer = MakeProducer(VideoStreamType::kSmall);
  EXPECT_EQ(EntriesOf([&] {
              producer->AddVideoShuntTrack(InterceptPosition::kCaptured, PixelFormat::kI420,
                                           BufferType::kMemory, writer());
            }).back(),
            "preprocessor.AddOutputTrack(kCaptured, {0x0 enabled kMemory kI420 kBig}, writer)");
}

TEST_F(ShuntTrack, IsRemovedByItsWriter) {
  const auto producer = MakeProducer();
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOf([&] { producer->RemoveVideoShuntTrack(writer()); }),
              ElementsAre(kQueueCheck, Info("Remove shunt track writer:" + AddressOfWriter()),
                          "preprocessor.RemoveOutputTrack(writer)"));
  EXPECT_THAT(OriginsOfLogLines(), ElementsAre(OriginIn("RemoveVideoShuntTrack")));
}

TEST_F(ShuntTrack, WithoutAWriterIsNeitherLoggedNorAddedNorRemoved) {
  const auto producer = MakeProducer();
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOf([&] {
                producer->AddVideoShuntTrack(InterceptPosition::kPreview, PixelFormat::kI420,
                                             BufferType::kMemory, nullptr);
              }),
              ElementsAre(kQueueCheck));
  EXPECT_THAT(EntriesOf([&] { producer->RemoveVideoShuntTrack(nullptr); }),
              ElementsAre(kQueueCheck));
}

class ShuntTrackAt : public ShuntTrack, public ::testing::WithParamInterface<std::int32_t> {};
INSTANTIATE_TEST_SUITE_P(EveryPosition, ShuntTrackAt, Values(0, 1, 2, 3, 4, 5, 6, 77, -1));

TEST_P(ShuntTrackAt, IsAddedThereWithOrWithoutAFormat) {
  const auto position = static_cast<InterceptPosition>(GetParam());
  const std::string text = InterceptPositionToString(position);
  const auto producer = MakeProducer();
  EXPECT_THAT(
      EntriesOf([&] {
        producer->AddVideoShuntTrack(position, PixelFormat::kNone, BufferType::kMemory, writer());
      }),
      ElementsAre(
          Info("Add shunt track pos:" + text +
               " format:kNone type:kMemory writer:" + AddressOfWriter()),
          "preprocessor.AddOutputTrack(" + text + ", {0x0 enabled kMemory kNone kBig}, writer)"));
}

TEST_F(ShuntTrack, AtTwoPositionsIsAddedTwiceAndRemovedByOneCall) {
  const auto producer = MakeProducer();
  for (const auto position : {InterceptPosition::kCaptured, InterceptPosition::kEncoder}) {
    producer->AddVideoShuntTrack(position, PixelFormat::kI420, BufferType::kMemory, writer());
  }
  EXPECT_EQ(preprocessor().CountRegistrations(writer()), 2u);
  journal().Clear();
  producer->RemoveVideoShuntTrack(writer());
  EXPECT_EQ(journal().Count("preprocessor.RemoveOutputTrack(writer)"), 1u);
}

TEST_F(ShuntTrack, IsLeftToTheApplication) {
  const auto producer = MakeProducer();
  producer->AddVideoShuntTrack(InterceptPosition::kPreview, PixelFormat::kI420, BufferType::kMemory,
                               writer());
  EXPECT_EQ(writer().use_count(), 1);
  EXPECT_THAT(EntriesOf([&] { ReleaseWriter(); }), ElementsAre("~writer"));
  EXPECT_THAT(preprocessor().output_tracks(), IsEmpty());
}

TEST_F(ShuntTrack, IsLoggedEachTimeWhereRepeatedNumbersAreFiltered) {
  SetLogValueFiltering(true);
  const auto producer = MakeProducer();
  for (int round = 0; round < 2; ++round) {
    EXPECT_THAT(EntriesOf([&] {
                  producer->AddVideoShuntTrack(InterceptPosition::kPreview, PixelFormat::kI420,
                                               BufferType::kMemory, writer());
                }),
                SizeIs(2));
    EXPECT_THAT(EntriesOf([&] { producer->RemoveVideoShuntTrack(writer()); }), SizeIs(2));
  }
}

// Interceptors.

TEST_F(Interceptor, IsAddedAsTheApplicationAsksWithoutALogLine) {
  CustomProcessParams params;
  params.width = 320;
  params.height = 180;
  params.enabled = true;
  params.buffer_type = BufferType::kTexture;
  params.pixel_format = PixelFormat::kRGBA;
  params.reserved = 9;
  params.stream_type = VideoStreamType::kSmall;
  const auto producer = MakeProducer();
  journal().LeaveOut(0);
  EXPECT_THAT(
      EntriesOf([&] {
        producer->AddInterceptor(static_cast<InterceptPosition>(77), params, listener());
      }),
      ElementsAre(kQueueCheck,
                  "preprocessor.AddInterceptor(InterceptPosition(77), {320x180 enabled kTexture "
                  "kRGBA reserved=9 kSmall}, listener)"));
}

TEST_F(Interceptor, IsAddedWithAnEmptyRecordAsItIs) {
  const auto producer = MakeProducer();
  EXPECT_THAT(
      EntriesOf([&] { producer->AddInterceptor(InterceptPosition::kPreview, {}, listener()); }),
      ElementsAre(
          "preprocessor.AddInterceptor(kPreview, {0x0 disabled kMemory kNone kBig}, listener)"));
}

TEST_F(Interceptor, IsRemovedWithoutALogLine) {
  const auto producer = MakeProducer();
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOf([&] { producer->RemoveInterceptor(listener()); }),
              ElementsAre(kQueueCheck, "preprocessor.RemoveInterceptor(listener)"));
}

TEST_F(Interceptor, IsPassedOnEvenWhenItIsGoneOrNeverWas) {
  const auto producer = MakeProducer();
  const std::weak_ptr<VideoInterceptorListener> gone = listener();
  producer->AddInterceptor(InterceptPosition::kPreview, {}, gone);
  ReleaseListener();
  EXPECT_THAT(EntriesOf([&] { producer->RemoveInterceptor(gone); }),
              ElementsAre("preprocessor.RemoveInterceptor(expired)"));
  EXPECT_THAT(
      EntriesOf([&] { producer->AddInterceptor(InterceptPosition::kPreview, {}, gone); }),
      ElementsAre(
          "preprocessor.AddInterceptor(kPreview, {0x0 disabled kMemory kNone kBig}, expired)"));
  EXPECT_THAT(EntriesOf([&] { producer->RemoveInterceptor({}); }),
              ElementsAre("preprocessor.RemoveInterceptor(null)"));
}

// All of them.

struct Access {
  const char* name;
  std::function<void(IVideoProducer2&, std::shared_ptr<testing::FrameWriterDouble>)> call;
};

void PrintTo(const Access& access, std::ostream* out) { *out << access.name; }

class FrameAccessBy : public FrameAccess, public ::testing::WithParamInterface<Access> {};
std::string NameOf(const ::testing::TestParamInfo<Access>& access) { return access.param.name; }
INSTANTIATE_TEST_SUITE_P(
    Operation, FrameAccessBy,
    Values(Access{"EnableCustomProcessing",
                  [](auto& p, auto) {
                    p.EnableCustomProcessing(true, PixelFormat::kI420, BufferType::kMemory,
                                             nullptr);
                  }},
           Access{"AddVideoShuntTrack",
                  [](auto& p, auto w) {
                    p.AddVideoShuntTrack(InterceptPosition::kPreview, PixelFormat::kI420,
                                         BufferType::kMemory, w);
                  }},
           Access{"RemoveVideoShuntTrack", [](auto& p, auto w) { p.RemoveVideoShuntTrack(w); }},
           Access{"AddInterceptor",
                  [](auto& p, auto) { p.AddInterceptor(InterceptPosition::kPreview, {}, {}); }},
           Access{"RemoveInterceptor", [](auto& p, auto) { p.RemoveInterceptor({}); }}),
    NameOf);

TEST_P(FrameAccessBy, NeedsNoLogOwnerOrClient) {
  VideoProducer2Impl producer(Context(), nullptr, VideoStreamType::kBig);
  movra_logging::SetMinLogLevel(1);
  EXPECT_THAT(EntriesOf([&] { GetParam().call(producer, writer()); }), SizeIs(1));
}

}  // namespace
}  // namespace movra::video
