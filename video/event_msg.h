#ifndef MOVRA_VIDEO_EVENT_MSG_H_
#define MOVRA_VIDEO_EVENT_MSG_H_

#include <string>

#include "video/encode_params.h"
#include "video/video_types.h"

namespace movra {

// A message for a log reader that travels with an event: short "key=value" words.
struct EventMsg {
  explicit EventMsg(const std::string& message) : text(message) {}

  std::string text;
  std::string detail;
};

}  // namespace movra

namespace movra::video {

// "event=render_first_frame width=640 height=360"
[[nodiscard]] EventMsg MakeRenderFirstFrameEventMsg(unsigned int width, unsigned int height);

// "event=render_first_frame_in_view width=640 height=360"
[[nodiscard]] EventMsg MakeRenderFirstFrameInViewEventMsg(unsigned int width, unsigned int height);

// "event=encode_property_changed stream=kBig codec=1 size=1280x720 implementation=libx264"
[[nodiscard]] std::string GetEncodePropertyChangedBaseMsg(VideoStreamType type,
                                                          EncoderProperty property);

}  // namespace movra::video

#endif  // MOVRA_VIDEO_EVENT_MSG_H_
