// The events of the renderers: those for the camera, those for the client, and those for nobody.

#include <cstdint>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <thread>
#include <utility>

#include "video/producer/preview_test_fixture.h"

namespace movra::video {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Values;

constexpr char kQueueCheck[] = "main_queue.IsCurrent()";

class RendererEvents : public PreviewTest {
 protected:
  // The local renderer as the source of events, as the renderer knows the producer.
  [[nodiscard]] std::shared_ptr<IVideoRendererController::Client> Events() {
    return world().renderers.At(0).client();
  }
};
class FocusAtPoint : public RendererEvents {};
class RenderFirstFrame : public RendererEvents {};
class IgnoredRendererEvent : public RendererEvents {};

// The touch on the preview.

TEST_F(FocusAtPoint, FocusesTheCameraAtThePointAsItIs) {
  const auto producer = MakePreviewingProducer();
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOf([&] { Events()->OnFocusAtPoint(10, 20, 640, 480); }),
              ElementsAre("camera_service.GetSelf()", "camera_service.FocusAtPoint(10, 20)"));
  EXPECT_THAT(EntriesOf([&] { Events()->OnFocusAtPoint(10, 20, 1, 0); }),
              ElementsAre("camera_service.GetSelf()", "camera_service.FocusAtPoint(10, 20)"));
  EXPECT_THAT(OriginsOfLogLines(), IsEmpty());
}

TEST_F(FocusAtPoint, ConvertsIntegersToSinglePrecision) {
  const auto producer = MakePreviewingProducer();
  EXPECT_THAT(EntriesOf([&] { Events()->OnFocusAtPoint(-3, 16777217, 0, 0); }),
              ElementsAre("camera_service.GetSelf()", "camera_service.FocusAtPoint(-3, 16777216)"));
}

TEST_F(FocusAtPoint, IsDroppedWithoutACameraService) {
  const auto producer = MakePreviewingProducer();
  env().LoseCameraService();
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOf([&] { Events()->OnFocusAtPoint(10, 20, 640, 480); }),
              ElementsAre("MakeService<ICameraService>()"));
}

TEST_F(FocusAtPoint, DoesNotKeepTheCameraService) {
  env().MakeCameraService();
  const auto producer = MakeProducer();
  producer->OnFocusAtPoint(1, 2, 3, 4);
  EXPECT_THAT(EntriesOf([&] { env().LoseCameraService(); }), ElementsAre("~camera_service"));
}

TEST_F(FocusAtPoint, NeedsNoClientNoPreviewAndNoOwner) {
  VideoProducer2Impl producer(Context(), nullptr, VideoStreamType::kBig);
  EXPECT_EQ(EntriesOf([&] { producer.OnFocusAtPoint(1, 2, 3, 4); }).back(),
            "camera_service.FocusAtPoint(1, 2)");
}

TEST_F(FocusAtPoint, WorksAfterUninitialize) {
  const auto producer = MakeProducer();
  producer->Uninitialize();
  EXPECT_EQ(EntriesOf([&] { producer->OnFocusAtPoint(1, 2, 3, 4); }).back(),
            "camera_service.FocusAtPoint(1, 2)");
}

TEST_F(FocusAtPoint, ReachesTheCameraOnTheThreadOfTheRenderer) {
  const auto producer = MakePreviewingProducer();
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOf([&] { std::thread([&] { Events()->OnFocusAtPoint(5, 6, 7, 8); }).join(); }),
              ElementsAre("camera_service.GetSelf()", "camera_service.FocusAtPoint(5, 6)"));
}

// The first frame.

TEST_F(RenderFirstFrame, IsToldToTheClientWithAMessage) {
  const auto producer = MakePreviewingProducer();
  journal().LeaveOut(0);
  EXPECT_THAT(
      EntriesOf([&] { Events()->OnRenderFirstFrame(RenderEventReason::kFirstFrame, 640, 360); }),
      ElementsAre(kQueueCheck,
                  "client.OnRenderFirstFrame(producer, 640, 360, "
                  "event=render_first_frame width=640 height=360)"));
  EXPECT_THAT(OriginsOfLogLines(), IsEmpty());
}

TEST_F(RenderFirstFrame, HasItsMessageMadeWhileTheClientIsHeld) {
  const auto producer = MakeProducer();
  AtEntry("MakeRenderFirstFrameEventMsg", [this] {
    EXPECT_EQ(client().use_count(), 2);
    ReleaseClient();
  });
  EXPECT_THAT(
      EntriesOf([&] { producer->OnRenderFirstFrame(RenderEventReason::kFirstFrame, 1, 2); }),
      ElementsAre("client.OnRenderFirstFrame(producer, 1, 2, "
                  "event=render_first_frame width=1 height=2)",
                  "~client"));
}

TEST_F(RenderFirstFrame, OfTheCustomRendererIsToldTheSameWay) {
  const auto producer = MakeCustomRenderingProducer();
  EXPECT_THAT(EntriesOf([&] {
                Events()->OnRenderFirstFrame(RenderEventReason::kFirstFrame, 4294967295, 0);
              }),
              ElementsAre("client.OnRenderFirstFrame(producer, 4294967295, 0, "
                          "event=render_first_frame width=4294967295 height=0)"));
}

class RenderFirstFrameInView : public RendererEvents,
                               public ::testing::WithParamInterface<std::int32_t> {};
INSTANTIATE_TEST_SUITE_P(EveryReasonButOne, RenderFirstFrameInView,
                         Values(0, 2, 3, -1, 257, INT32_MAX, INT32_MIN));

TEST_P(RenderFirstFrameInView, HasAMessageOfItsOwn) {
  const auto producer = MakePreviewingProducer();
  EXPECT_THAT(EntriesOf([&] {
                Events()->OnRenderFirstFrame(static_cast<RenderEventReason>(GetParam()), 640, 360);
              }),
              ElementsAre("client.OnRenderFirstFrame(producer, 640, 360, "
                          "event=render_first_frame_in_view width=640 height=360)"));
}

TEST_F(RenderFirstFrame, HasItsMessageMadeOnceAndNoOther) {
  const auto producer = MakeProducer();
  for (const auto reason : {RenderEventReason::kFirstFrame, static_cast<RenderEventReason>(0)}) {
    journal().Clear();
    producer->OnRenderFirstFrame(reason, 1, 2);
    EXPECT_EQ(journal().Count(testing::Journal::kText), 1u);
  }
}

// Errors.

class RenderErrorOf : public RendererEvents, public ::testing::WithParamInterface<std::int32_t> {};
INSTANTIATE_TEST_SUITE_P(EveryValue, RenderErrorOf, Values(0, 1, 2, 77, -1, INT32_MIN));

TEST_P(RenderErrorOf, ReachesTheClientUnchanged) {
  const auto producer = MakePreviewingProducer();
  journal().LeaveOut(0);
  EXPECT_THAT(
      EntriesOf([&] { Events()->OnRenderError(static_cast<VideoRenderError>(GetParam())); }),
      ElementsAre(kQueueCheck,
                  "client.OnRenderError(producer, " + std::to_string(GetParam()) + ")"));
  EXPECT_THAT(OriginsOfLogLines(), IsEmpty());
}

// Without a client, and with one that goes away.

// Both events that go to the client.
struct ClientEvent {
  const char* name;
  std::function<void(IVideoRendererController::Client&)> raise;
};

void PrintTo(const ClientEvent& event, std::ostream* out) { *out << event.name; }

class RenderEvent : public RendererEvents, public ::testing::WithParamInterface<ClientEvent> {
 protected:
  void Raise(VideoProducer2Impl& producer) { GetParam().raise(producer); }
};
std::string NameOf(const ::testing::TestParamInfo<ClientEvent>& event) { return event.param.name; }
INSTANTIATE_TEST_SUITE_P(Of, RenderEvent,
                         Values(ClientEvent{"FirstFrame",
                                            [](IVideoRendererController::Client& client) {
                                              client.OnRenderFirstFrame(
                                                  RenderEventReason::kFirstFrame, 1, 2);
                                            }},
                                ClientEvent{"Error",
                                            [](IVideoRendererController::Client& client) {
                                              client.OnRenderError(VideoRenderError::kNoDisplay);
                                            }}),
                         NameOf);

TEST_P(RenderEvent, IsDroppedWhenTheClientIsGone) {
  const auto producer = MakeProducer();
  ReleaseClient();
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOf([&] { Raise(*producer); }), ElementsAre(kQueueCheck));
}

TEST_P(RenderEvent, MakesNoMessageForAClientThatIsGone) {
  const auto producer = MakeProducer();
  ReleaseClient();
  journal().Clear();
  Raise(*producer);
  producer->OnRenderFirstFrame(static_cast<RenderEventReason>(0), 1, 2);
  EXPECT_EQ(journal().Count(testing::Journal::kText), 0u);
}

TEST_P(RenderEvent, IsDroppedWhenNoClientWasSet) {
  VideoProducer2Impl producer(Context(), nullptr, VideoStreamType::kBig);
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOf([&] { Raise(producer); }), ElementsAre(kQueueCheck));
}

TEST_P(RenderEvent, ChecksTheMainQueueBeforeItLooksForTheClient) {
  const auto producer = MakeProducer();
  AtEntry(kQueueCheck, [this] { ReleaseClient(); });
  EXPECT_THAT(EntriesOf([&] { Raise(*producer); }), ElementsAre("~client"));
}

TEST_P(RenderEvent, LeavesTheClientWithTheApplication) {
  const auto producer = MakeProducer();
  Raise(*producer);
  EXPECT_EQ(client().use_count(), 1);
}

TEST_P(RenderEvent, NeedsNoRendererAndNoOwner) {
  VideoProducer2Impl producer(Context(), client(), VideoStreamType::kBig);
  EXPECT_EQ(EntriesOf([&] { Raise(producer); }).size(), 1u);
}

TEST_P(RenderEvent, ReachesTheClientAfterUninitializeToo) {
  const auto producer = MakeProducer();
  producer->Uninitialize();
  EXPECT_EQ(EntriesOf([&] { Raise(*producer); }).size(), 1u);
}

// A client that gives itself up in the middle of an event.
class FickleClient : public testing::ClientDouble {
 public:
  using ClientDouble::ClientDouble;
  std::shared_ptr<FickleClient> self;

  void OnRenderFirstFrame(IVideoProducer2* producer, unsigned int, unsigned int,
                          const EventMsg&) override {
    GiveUp(producer);
  }
  void OnRenderError(IVideoProducer2* producer, VideoRenderError) override { GiveUp(producer); }

 private:
  void GiveUp(IVideoProducer2* producer) {
    self.reset();
    producer->SetClient(nullptr);
    Called("still there");
  }
};

TEST_P(RenderEvent, HoldsTheClientUntilItHasReturned) {
  const auto producer = MakeProducer();
  auto fickle = env().Make<FickleClient>("fickle");
  producer->SetClient(fickle);
  fickle->self = std::move(fickle);
  EXPECT_THAT(EntriesOf([&] { Raise(*producer); }), ElementsAre("fickle.still there()", "~fickle"));
}

// Nobody's events.

TEST_F(IgnoredRendererEvent, DoesNothingAtAll) {
  const auto producer = MakePreviewingProducer();
  journal().LeaveOut(0);
  EXPECT_THAT(EntriesOf([&] {
                Events()->OnZoom(2.0F);
                Events()->OnClassicRenderFreeze(500);
                Events()->OnFeelingRenderFreeze(500);
              }),
              IsEmpty());
}

}  // namespace
}  // namespace movra::video
