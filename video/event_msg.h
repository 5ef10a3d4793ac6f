#ifndef MOVRA_VIDEO_EVENT_MSG_H_
#define MOVRA_VIDEO_EVENT_MSG_H_

#include <string>

#include "video/encode_params.h"
#include "video/video_types.h"

namespace movra {

// A message for a log reader that travels with an event, beside what the event itself says.
struct EventMsg {
  explicit EventMsg(const std::string& message) : text(message) {}

  // Short "key=value" words with a blank between them, "event" first. Each is made by one of the
  // functions below, which say which words it has.
  std::string text;
  // Room for more; empty in every event there is.
  std::string detail;
};

}  // namespace movra

namespace movra::video {

// "event=render_first_frame width=640 height=360"
[[nodiscard]] EventMsg MakeRenderFirstFrameEventMsg(unsigned int width, unsigned int height);

// "event=render_first_frame_in_view width=640 height=360"
[[nodiscard]] EventMsg MakeRenderFirstFrameInViewEventMsg(unsigned int width, unsigned int height);

// "event=encode_property_changed stream=kBig codec=1 size=1280x720 implementation=libx264"
//
// Of one description of a stream's encoder. `codec` is a VideoCodec; `implementation` stands last,
// because its words may have blanks. The producer's event has the text of the description that held
// before (`from`), so of the first one after a start "codec=0 size=0x0 implementation="; what holds
// now is in `to`.
[[nodiscard]] std::string GetEncodePropertyChangedBaseMsg(VideoStreamType type,
                                                          EncoderProperty property);

}  // namespace movra::video

#endif  // MOVRA_VIDEO_EVENT_MSG_H_
