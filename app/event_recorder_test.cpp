#include "app/event_recorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace movra::app {
namespace {

using video::VideoStreamType;

class EventRecorderTest : public ::testing::Test {
 protected:
  // What the recorder has told of since the last call.
  std::string Event() {
    std::string text;
    for (const std::string& event : std::exchange(events_, {})) text += event;
    return text;
  }

  std::vector<std::string> events_;
  EventRecorder recorder_{[this](const Json& event) { events_.push_back(event.dump()); }};
};

TEST_F(EventRecorderTest, TellsOfEncoders) {
  const video::EncoderProperty none;
  const video::EncoderProperty known{1, std::int64_t{1280} << 32 | 720, "libx264"};
  recorder_.OnEncoderPropertyChanged(nullptr, VideoStreamType::kSmall, none, known,
                                     EventMsg("event=x"));
  EXPECT_EQ(Event(),
            R"({"event":"encoder_property_changed","type":"small",)"
            R"("from":{"codec":0,"width":0,"height":0,"implementation":""},)"
            R"("to":{"codec":"h264","width":1280,"height":720,"implementation":"libx264"},)"
            R"("message":"event=x"})");
  recorder_.OnEncodeAbilityChanged(nullptr, {1, 0, 1, 0});
  EXPECT_EQ(Event(),
            R"({"event":"encode_ability_changed","ability":{"roi":true,)"
            R"("reference_selection":false,"software_encoder":true,"hardware_encoder":false}})");
}

TEST_F(EventRecorderTest, TellsOfErrorsOfEncodersWithAnyDetail) {
  const auto detailed = [this](const movra_base::Value& detail) {
    recorder_.OnEncoderError(nullptr, VideoStreamType::kBig, video::VideoEncoderError::kOpenFailed,
                             detail);
    return Event();
  };
  const std::string head =
      R"({"event":"encoder_error","type":"big","error":"open_failed","detail":)";
  EXPECT_EQ(detailed(movra_base::Value("no")), head + "\"no\"}");
  EXPECT_EQ(detailed(movra_base::Value(-12)), head + "-12}");
  EXPECT_EQ(detailed(movra_base::Value(0.5)), head + "0.5}");
  EXPECT_EQ(detailed(movra_base::Value(true)), head + "true}");
  EXPECT_EQ(detailed(movra_base::Value()), head + "null}");
}

TEST_F(EventRecorderTest, TellsOfThePreview) {
  recorder_.OnRenderFirstFrame(nullptr, 640, 360, EventMsg("event=y"));
  EXPECT_EQ(Event(),
            R"({"event":"render_first_frame","width":640,"height":360,"message":"event=y"})");
  recorder_.OnRenderError(nullptr, video::VideoRenderError::kViewLost);
  EXPECT_EQ(Event(), R"({"event":"render_error","error":"view_lost"})");
}

TEST_F(EventRecorderTest, TellsOfSharedScreens) {
  recorder_.OnScreenSharingError(nullptr, 7, video::VideoScreenSharingError::kSourceNotFound);
  EXPECT_EQ(Event(), R"({"event":"screen_sharing_error","source":7,"error":"source_not_found"})");
  recorder_.OnScreenSharingStarted(nullptr, 7);
  EXPECT_EQ(Event(), R"({"event":"screen_sharing_started","source":7})");
  recorder_.OnScreenSharingStopped(nullptr, 7,
                                   video::VideoScreenSharingStoppedReason::kSourceClosed);
  EXPECT_EQ(Event(), R"({"event":"screen_sharing_stopped","source":7,"reason":"source_closed"})");
  recorder_.OnScreenSharingPaused(nullptr, 7, video::VideoScreenSharingPausedReason::kMinimised);
  EXPECT_EQ(Event(), R"({"event":"screen_sharing_paused","source":7,"reason":"minimised"})");
  recorder_.OnScreenSharingResumed(nullptr, 7, video::VideoScreenSharingResumedReason{9});
  EXPECT_EQ(Event(), R"({"event":"screen_sharing_resumed","source":7,"reason":9})");
  recorder_.OnScreenSharingFirstFrame(nullptr, 7, 120);
  EXPECT_EQ(Event(), R"({"event":"screen_sharing_first_frame","source":7,"elapsed_ms":120})");
  recorder_.OnWindowCovered(nullptr, -1);
  EXPECT_EQ(Event(), R"({"event":"window_covered","source":-1})");
  recorder_.OnCapturerModeChange(nullptr, 7, video::CapturerMode::kDisplay,
                                 video::CapturerMode::kWindow);
  EXPECT_EQ(Event(),
            R"({"event":"capturer_mode_change","source":7,"from":"display","to":"window"})");
}

}  // namespace
}  // namespace movra::app
