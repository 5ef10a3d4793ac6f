#include "video/event_msg.h"

#include <cstdint>

#include "video/to_string.h"

namespace movra::video {
namespace {

EventMsg FirstFrame(const char* event, unsigned int width, unsigned int height) {
  return EventMsg(std::string("event=") + event + " width=" + std::to_string(width) +
                  " height=" + std::to_string(height));
}

}  // namespace

EventMsg MakeRenderFirstFrameEventMsg(unsigned int width, unsigned int height) {
  return FirstFrame("render_first_frame", width, height);
}

EventMsg MakeRenderFirstFrameInViewEventMsg(unsigned int width, unsigned int height) {
  return FirstFrame("render_first_frame_in_view", width, height);
}

std::string GetEncodePropertyChangedBaseMsg(VideoStreamType type, EncoderProperty property) {
  const auto size = static_cast<std::uint64_t>(property.size);
  return "event=encode_property_changed stream=" + VideoStreamTypeToString(type) +
         " codec=" + std::to_string(property.codec) + " size=" + std::to_string(size >> 32) + "x" +
         std::to_string(size & 0xFFFFFFFFu) + " implementation=" + property.implementation;
}

}  // namespace movra::video
