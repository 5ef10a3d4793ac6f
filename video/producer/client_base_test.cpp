#include "video/producer/client_base.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

namespace movra::video {
namespace {

static_assert(std::is_default_constructible_v<ClientBase>, "no event has to be overridden");

class ErrorClient final : public ClientBase {
 public:
  void OnEncoderError(IVideoProducer2* /*producer*/, VideoStreamType /*type*/,
                      VideoEncoderError error, const movra_base::Value& /*detail*/) override {
    errors += std::to_string(static_cast<int>(error));
  }
  std::string errors;
};

TEST(ClientBase, LetsEveryEventPassButThoseThatAreOverridden) {
  ErrorClient client;
  IVideoProducer2::Client& events = client;
  events.OnEncoderPropertyChanged(nullptr, VideoStreamType::kBig, {}, {}, EventMsg(""));
  events.OnEncodeAbilityChanged(nullptr, {});
  events.OnEncoderError(nullptr, VideoStreamType::kBig, VideoEncoderError{7}, {});
  events.OnRenderFirstFrame(nullptr, 0, 0, EventMsg(""));
  events.OnRenderError(nullptr, {});
  events.OnScreenSharingError(nullptr, 0, {});
  events.OnScreenSharingStarted(nullptr, 0);
  events.OnScreenSharingStopped(nullptr, 0, {});
  events.OnScreenSharingPaused(nullptr, 0, {});
  events.OnScreenSharingResumed(nullptr, 0, {});
  events.OnScreenSharingFirstFrame(nullptr, 0, 0);
  events.OnWindowCovered(nullptr, 0);
  events.OnCapturerModeChange(nullptr, 0, {}, {});
  EXPECT_EQ(client.errors, "7");
}

}  // namespace
}  // namespace movra::video
