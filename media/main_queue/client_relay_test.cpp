#include "media/main_queue/client_relay.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "testing/log_capture.h"
#include "testing/simulated_queue.h"

namespace movra::media {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

struct Client {
  std::vector<int> heard;
  std::vector<std::thread::id> threads;
};

using Relay = ClientRelay<Client>;

class ClientRelayTest : public ::testing::Test {
 protected:
  ClientRelayTest() { core::SetMainQueue(queue_); }
  ~ClientRelayTest() override { core::SetMainQueue(nullptr); }

  static void Tell(const Relay::Sender& sender, int number) {
    sender.Post([number](Client& client) {
      client.heard.push_back(number);
      client.threads.push_back(std::this_thread::get_id());
    });
  }

  static void Throw(const Relay::Sender& sender) {
    sender.Post([](Client& client) {
      client.heard.push_back(-1);
      throw std::runtime_error("no");
    });
  }

  // Since it was asked last.
  std::vector<std::string> Told() {
    std::vector<std::string> texts;
    for (testing::LogLine& line : log_.Take()) texts.push_back(std::move(line.text));
    return texts;
  }

  std::shared_ptr<testing::SimulatedQueue> queue_ =
      std::make_shared<testing::SimulatedQueue>("main_queue");
  std::shared_ptr<Client> client_ = std::make_shared<Client>();
  std::optional<Relay> relay_{std::in_place, "The client of a test", client_};
  testing::LogCapture log_;
};

TEST_F(ClientRelayTest, EventsArriveInOrderOnceTheMainQueueRuns) {
  const auto sender = relay_->Open();
  Tell(sender, 1);
  Tell(sender, 2);
  EXPECT_THAT(client_->heard, IsEmpty());
  EXPECT_TRUE(queue_->RunOne());
  EXPECT_THAT(client_->heard, ElementsAre(1));
  queue_->RunAll();
  EXPECT_THAT(client_->heard, ElementsAre(1, 2));
}

TEST_F(ClientRelayTest, AnyThreadMayPostAndTheMainQueueDelivers) {
  std::thread([sender = relay_->Open()] { Tell(sender, 1); }).join();
  EXPECT_THAT(client_->heard, IsEmpty());
  queue_->RunAll();
  EXPECT_THAT(client_->heard, ElementsAre(1));
  EXPECT_THAT(client_->threads, ElementsAre(std::this_thread::get_id()));
}

TEST_F(ClientRelayTest, TheClientIsHeldWeaklyAndOneThatIsGoneMissesNothing) {
  Tell(relay_->Open(), 1);
  EXPECT_EQ(client_.use_count(), 1);
  const std::weak_ptr<Client> watched = client_;
  client_.reset();
  EXPECT_TRUE(watched.expired());
  EXPECT_EQ(queue_->RunAll(), 1U);
}

TEST_F(ClientRelayTest, WithoutAClientEventsAreDropped) {
  Relay relay("Nobody");
  Tell(relay.Open(), 1);
  EXPECT_EQ(queue_->RunAll(), 1U);
  EXPECT_THAT(Told(), IsEmpty());
}

TEST_F(ClientRelayTest, AClientThatWasATemporaryIsToldOnce) {
  Relay relay("The client of a test", std::make_shared<Client>());
  for (int i = 0; i < 2; ++i) {
    Tell(relay.Open(), i);
    queue_->RunAll();
    relay.Close();
  }
  const std::string text =
      "The client of a test was gone before its first event: it is held weakly, keep it alive";
  EXPECT_THAT(Told(), ElementsAre(text));
  relay.SetClient(std::make_shared<Client>());
  Tell(relay.Open(), 2);
  queue_->RunAll();
  EXPECT_THAT(Told(), ElementsAre(text));
}

TEST_F(ClientRelayTest, AClientThatHeardSomethingMayGo) {
  const auto sender = relay_->Open();
  Tell(sender, 1);
  queue_->RunAll();
  client_.reset();
  Tell(sender, 2);
  queue_->RunAll();
  EXPECT_THAT(Told(), IsEmpty());
}

TEST_F(ClientRelayTest, AfterTheCloseNothingIsDeliveredWheneverItWasPosted) {
  const auto sender = relay_->Open();
  Tell(sender, 1);
  relay_->Close();
  Tell(sender, 2);
  queue_->RunAll();
  EXPECT_THAT(client_->heard, IsEmpty());
}

TEST_F(ClientRelayTest, AnEventOfAStartThatIsOverIsDroppedThoughAnotherHasBegun) {
  const auto first = relay_->Open();
  Tell(first, 1);
  relay_->Close();
  const auto second = relay_->Open();
  Tell(second, 2);
  Tell(first, 3);
  queue_->RunAll();
  EXPECT_THAT(client_->heard, ElementsAre(2));
}

TEST_F(ClientRelayTest, OpeningWhatIsOpenGoesOnWithTheSameStart) {
  Tell(relay_->Open(), 1);
  Tell(relay_->Open(), 2);
  queue_->RunAll();
  EXPECT_THAT(client_->heard, ElementsAre(1, 2));
}

TEST_F(ClientRelayTest, AnEventThatEndsTheStartIsItsLast) {
  const auto sender = relay_->Open();
  sender.Post([this](Client&) { relay_->Close(); });
  Tell(sender, 1);
  queue_->RunAll();
  EXPECT_THAT(client_->heard, IsEmpty());
}

TEST_F(ClientRelayTest, WithTheRelayItsStartIsOver) {
  const auto sender = relay_->Open();
  Tell(sender, 1);
  relay_.reset();
  Tell(sender, 2);
  queue_->RunAll();
  EXPECT_THAT(client_->heard, IsEmpty());
}

TEST_F(ClientRelayTest, TheRelayMayEndOnAnotherThread) {
  Tell(relay_->Open(), 1);
  std::thread([this] { relay_.reset(); }).join();
  queue_->RunAll();
  EXPECT_THAT(client_->heard, IsEmpty());
}

TEST_F(ClientRelayTest, AnEventMayEndTheRelayAndTheClient) {
  relay_->Open().Post([this](Client& client) {
    relay_.reset();
    client_.reset();
    client.heard.push_back(1);  // Held for as long as it is called.
  });
  EXPECT_EQ(queue_->RunAll(), 1U);
  EXPECT_EQ(client_, nullptr);
}

TEST_F(ClientRelayTest, AClientThatWasReplacedHearsNothingMore) {
  const auto next = std::make_shared<Client>();
  Tell(relay_->Open(), 1);
  relay_->SetClient(next);
  queue_->RunAll();
  EXPECT_THAT(client_->heard, IsEmpty());
  EXPECT_THAT(next->heard, ElementsAre(1));
}

TEST_F(ClientRelayTest, AQueueThatTheProgramGaveUpIsNotKeptAndAnotherIsToldNothing) {
  const auto sender = relay_->Open();
  const auto other = std::make_shared<testing::SimulatedQueue>("other");
  const std::weak_ptr<testing::SimulatedQueue> watched = queue_;
  core::SetMainQueue(other);
  queue_.reset();
  EXPECT_TRUE(watched.expired());
  Tell(sender, 1);
  EXPECT_EQ(other->waiting(), 0U);
}

TEST_F(ClientRelayTest, WhatAClientThrowsIsToldOnceAndItHearsNoMoreOfThatStart) {
  const auto sender = relay_->Open();
  Throw(sender);
  Throw(sender);
  Tell(sender, 1);
  Tell(relay_->Open(), 2);
  EXPECT_EQ(queue_->RunAll(), 4U);
  EXPECT_THAT(client_->heard, ElementsAre(-1));
  const auto lines = log_.Take();
  ASSERT_THAT(lines, SizeIs(1));
  EXPECT_EQ(lines[0].text, "The client of a test threw: no");
}

TEST_F(ClientRelayTest, AClientThatThrewHearsOfTheNextStart) {
  Throw(relay_->Open());
  queue_->RunAll();
  relay_->Close();
  Tell(relay_->Open(), 1);
  queue_->RunAll();
  EXPECT_THAT(client_->heard, ElementsAre(-1, 1));
}

TEST_F(ClientRelayTest, AClientThatIsSetAnewAfterAnotherThrewIsCalled) {
  const auto sender = relay_->Open();
  Throw(sender);
  queue_->RunAll();
  relay_->SetClient(client_);
  Tell(sender, 1);
  queue_->RunAll();
  EXPECT_THAT(client_->heard, ElementsAre(-1, 1));
}

TEST_F(ClientRelayTest, WhoThrowsAfterGivingWayDetachesNobodyElse) {
  const auto next = std::make_shared<Client>();
  const auto sender = relay_->Open();
  sender.Post([this, next](Client&) {
    relay_->SetClient(next);
    throw std::runtime_error("replaced");
  });
  Tell(sender, 1);
  queue_->RunAll();
  EXPECT_THAT(next->heard, ElementsAre(1));
}

TEST_F(ClientRelayTest, WhoThrowsAfterStartingAnewHearsOfTheNewStart) {
  relay_->Open().Post([this](Client&) {
    relay_->Close();
    Tell(relay_->Open(), 1);
    throw std::runtime_error("started anew");
  });
  queue_->RunAll();
  EXPECT_THAT(client_->heard, ElementsAre(1));
}

}  // namespace
}  // namespace movra::media
