#include "video/producer/producer_test_fixture.h"

namespace movra::video {
namespace {

using ::testing::ElementsAre;

class ProducerTestFixture : public ProducerTest {};

TEST_F(ProducerTestFixture, ShowsTheFactoriesThatAConstructionCallsInTheirOrder) {
  const auto producer = MakeProducer();
  EXPECT_THAT(journal().Take(),
              ElementsAre("IsMetalAvailable()", "ThreadManager.GetTaskQueue(304, 0, absent)",
                          "IVideoPreprocessor2.Create({7 [call][main]}, queue304)",
                          "IScreenSharing.Create({7 [call][main]})"));
}

TEST_F(ProducerTestFixture, LeavesQueueChecksOutOfTheListAndCountsThem) {
  const auto producer = MakeProducer();
  journal().Clear();
  producer->Initialize();
  EXPECT_EQ(journal().CountQueueChecks(), 1u);
  EXPECT_THAT(journal().Take(), ElementsAre(Info("Initialize"), "preprocessor.StartProcessing()"));
}

TEST_F(ProducerTestFixture, TellsTheProducersApartInTheirEvents) {
  const auto first = MakeProducer();
  const auto second = MakeProducer(VideoStreamType::kSmall);
  EXPECT_THAT(
      EntriesOf([&] {
        first->OnRenderError(VideoRenderError::kViewLost);
        second->OnRenderError(VideoRenderError::kViewLost);
      }),
      ElementsAre("client.OnRenderError(producer, 2)", "client.OnRenderError(producer#2, 2)"));
}

TEST_F(ProducerTestFixture, NamesTheProducerInTheRoleOfAClient) {
  const auto producer = MakeProducer();
  EXPECT_THAT(EntriesOf([&] { producer->RequestKeyFrame(VideoStreamType::kBig); }),
              ::testing::Contains("IVideoEncoderController.CreateVideoEncoderController("
                                  "{7 [call][main]}, kBig, producer)"));
}

TEST_F(ProducerTestFixture, ShowsTheEndOfEverythingThatAProducerHeld) {
  auto producer = MakeProducer();
  EXPECT_THAT(EntriesOf([&] { producer.reset(); }),
              ElementsAre("~preprocessor", "~screen_sharing"));
}

}  // namespace
}  // namespace movra::video
