#include "testing/application_doubles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "testing/environment.h"

namespace movra::testing {
namespace {

using ::testing::ElementsAre;
using video::VideoStreamType;

TEST(ClientDouble, TellsOfEveryEvent) {
  Environment env;
  const auto client = env.Make<ClientDouble>("client");
  client->OnEncoderPropertyChanged(nullptr, VideoStreamType::kBig, {1, 2, "a"}, {3, 4, "b"},
                                   EventMsg("text"));
  client->OnEncodeAbilityChanged(nullptr, {1, 0, 1, 0});
  client->OnEncoderError(nullptr, VideoStreamType::kSmall, video::VideoEncoderError::kOpenFailed,
                         movra_base::Value("why"));
  client->OnRenderFirstFrame(nullptr, 640, 360, EventMsg("text"));
  client->OnRenderError(nullptr, video::VideoRenderError::kViewLost);
  client->OnScreenSharingError(nullptr, 5, video::VideoScreenSharingError::kSourceNotFound);
  client->OnScreenSharingStarted(nullptr, 5);
  client->OnScreenSharingStopped(nullptr, 5, video::VideoScreenSharingStoppedReason::kFailed);
  client->OnScreenSharingPaused(nullptr, 5, video::VideoScreenSharingPausedReason::kMinimised);
  client->OnScreenSharingResumed(nullptr, 5, video::VideoScreenSharingResumedReason::kRestored);
  client->OnScreenSharingFirstFrame(nullptr, 5, 33);
  client->OnWindowCovered(nullptr, 5);
  client->OnCapturerModeChange(nullptr, 5, video::CapturerMode::kDisplay,
                               video::CapturerMode::kWindow);
  EXPECT_THAT(
      env.journal().Take(),
      ElementsAre(
          "client.OnEncoderPropertyChanged(null, kBig, {1 0x2 a}, {3 0x4 b}, text)",
          "client.OnEncodeAbilityChanged(null, {1 0 1 0})",
          "client.OnEncoderError(null, kSmall, kOpenFailed, why)",
          "client.OnRenderFirstFrame(null, 640, 360, text)", "client.OnRenderError(null, 2)",
          "client.OnScreenSharingError(null, 5, 2)", "client.OnScreenSharingStarted(null, 5)",
          "client.OnScreenSharingStopped(null, 5, 2)", "client.OnScreenSharingPaused(null, 5, 1)",
          "client.OnScreenSharingResumed(null, 5, 1)",
          "client.OnScreenSharingFirstFrame(null, 5, 33)", "client.OnWindowCovered(null, 5)",
          "client.OnCapturerModeChange(null, 5, 1, 2)"));
}

TEST(ApplicationTracks, TellOfEveryCall) {
  Environment env;
  video::PixelFrameInfo info;
  info.sequence = 3;
  const video::PixelFrame frame(info, std::make_shared<int>());
  const auto writer = env.Make<FrameWriterDouble>("writer");
  EXPECT_EQ(writer->Write(frame), video::TrackWriteResult::kAccepted);
  writer->WriteEnd({});
  const auto reader = env.Make<FrameReaderDouble>("reader");
  reader->capture_stat = 9;
  EXPECT_EQ(reader->GetCaptureStat(), 9u);
  EXPECT_TRUE(std::holds_alternative<std::monostate>(reader->Read()));
  reader->SetReadableCallback([] {});
  const auto listener = env.Make<ListenerDouble>("listener");
  EXPECT_EQ(listener->OnInterceptFrame(video::InterceptPosition::kCaptured, frame).owner(),
            frame.owner());
  const auto encoded = env.Make<EncodedWriterDouble>("encoded");
  video::EncodedFrame encoded_frame;
  encoded_frame.stream_type = VideoStreamType::kSmall;
  encoded_frame.sequence = 4;
  encoded->Write(encoded_frame);
  video::StreamEnd end;
  end.error_code = 5;
  encoded->WriteEnd(end);
  EXPECT_THAT(
      env.journal().Take(),
      ElementsAre("writer.Write(frame 3)", "writer.WriteEnd(end 0)", "reader.GetCaptureStat()",
                  "reader.Read()", "reader.SetReadableCallback(true)",
                  "listener.OnInterceptFrame(kCaptured, frame 3)", "encoded.Write(kSmall, 4)",
                  "encoded.WriteEnd(end 5)"));
}

}  // namespace
}  // namespace movra::testing
