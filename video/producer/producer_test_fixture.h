// The fixture of the producer's tests: an environment of doubles and producers that live in it.

#ifndef MOVRA_VIDEO_PRODUCER_PRODUCER_TEST_FIXTURE_H_
#define MOVRA_VIDEO_PRODUCER_PRODUCER_TEST_FIXTURE_H_

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "logging/log_identity.h"
#include "testing/application_doubles.h"
#include "testing/camera_service_double.h"
#include "testing/encoder_double.h"
#include "testing/environment.h"
#include "testing/images.h"
#include "testing/preprocessor_double.h"
#include "testing/renderer_double.h"
#include "testing/screen_sharing_double.h"
#include "testing/track_double.h"
#include "video/producer/video_producer2_impl.h"

namespace movra::video {

// Shows all entries but the checks of the main queue, the calls of GetReader and GetWriter,
// subscriptions, and the ends of queues and of what tracks consist of; journal().LeaveOut(0) shows
// those too. testing/environment.h has an example.
class ProducerTest : public ::testing::Test {
 protected:
  ProducerTest() { journal().LeaveOut(testing::Journal::kDetails); }

  [[nodiscard]] testing::Environment& env() { return env_; }
  [[nodiscard]] testing::World& world() { return env_.world(); }
  [[nodiscard]] testing::Journal& journal() { return env_.journal(); }

  // The entries of what `action` does, and of nothing before it.
  template <class Action>
  [[nodiscard]] std::vector<std::string> EntriesOf(Action&& action) {
    journal().Clear();
    action();
    return journal().Take();
  }
  // How often `action` asks whether the main queue is current.
  template <class Action>
  [[nodiscard]] std::size_t QueueChecksOf(Action&& action) {
    journal().Clear();
    action();
    return journal().CountQueueChecks();
  }

  // Runs the action in the middle of an operation, right after the next entry of this text.
  void AtEntry(const std::string& text, std::function<void()> action) {
    journal().SetObserver([this, text, action = std::move(action)](const std::string& entry) {
      if (entry != text) return;
      journal().SetObserver(nullptr);  // Once, for the action may cause entries of its own.
      action();
    });
  }

  // A producer whose client is client(); the journal calls it "producer", a second one
  // "producer#2". What its construction did is in the journal.
  [[nodiscard]] std::shared_ptr<VideoProducer2Impl> MakeProducer(
      VideoStreamType type = VideoStreamType::kBig) {
    auto producer = std::make_shared<VideoProducer2Impl>(Context(), client_, type);
    testing::SetNameOf(*producer, world().UniqueName("producer"));
    return producer;
  }
  [[nodiscard]] static VideoContext Context() { return {InstanceTrace(7), "[call]"}; }

  // The application's client of the producers; ReleaseClient ends it.
  [[nodiscard]] const std::shared_ptr<testing::ClientDouble>& client() const { return client_; }
  void ReleaseClient() { client_.reset(); }

  // The journal's entry of a log line of a producer made with stream type kBig, or of one with
  // another tag.
  [[nodiscard]] static std::string Info(const std::string& text,
                                        const std::string& tag = "[main]") {
    return "log(0) [trace:7][call]" + tag + " " + text;
  }
  [[nodiscard]] static std::string Warning(const std::string& text,
                                           const std::string& tag = "[main]") {
    return "log(1) [trace:7][call]" + tag + " " + text;
  }

  // The source text and member function of each log line since the last call.
  [[nodiscard]] std::vector<std::string> OriginsOfLogLines() {
    std::vector<std::string> origins;
    for (const auto& line : env_.log().Take()) origins.push_back(line.file + " " + line.function);
    return origins;
  }
  [[nodiscard]] static std::string OriginIn(const std::string& function) {
    return "../../video/producer/video_producer2_impl " + function;
  }

 private:
  testing::Environment env_;
  std::shared_ptr<testing::ClientDouble> client_ = env_.Make<testing::ClientDouble>("client");
};

}  // namespace movra::video

#endif  // MOVRA_VIDEO_PRODUCER_PRODUCER_TEST_FIXTURE_H_
