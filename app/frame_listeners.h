// The code on the road of a frame that the program itself has.

#ifndef MOVRA_APP_FRAME_LISTENERS_H_
#define MOVRA_APP_FRAME_LISTENERS_H_

#include <memory>
#include <string>

#include "app/result.h"
#include "video/video_interceptor_listener.h"

namespace movra::app {

// Makes the listener that a text names:
//
//   "invert"    turns the brightness of each picture round; pictures without eight bits of luma,
//               which are BGRA, RGBA and I010, go on as they are
//   "drop:N"    drops every Nth frame, from 1 on: all of them
//   "sleep:MS"  takes so many milliseconds for each frame, from 1 to 60000
[[nodiscard]] Result<std::shared_ptr<video::VideoInterceptorListener>> MakeFrameListener(
    const std::string& text);

}  // namespace movra::app

#endif  // MOVRA_APP_FRAME_LISTENERS_H_
