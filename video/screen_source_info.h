#ifndef MOVRA_VIDEO_SCREEN_SOURCE_INFO_H_
#define MOVRA_VIDEO_SCREEN_SOURCE_INFO_H_

#include <cstdint>
#include <memory>
#include <string>

#include "video/objc_wrapper.h"
#include "video/size.h"

namespace movra::video {

// A screen or window that can be shared.
struct ScreenSource {
  std::int64_t id = 0;    // What DesktopScreenParams::source_id takes.
  std::int32_t kind = 0;  // 0: a display, 1: a window.
  std::string title{};
  Size size{};
  bool minimised = false;
  std::shared_ptr<ObjcWrapper<NSImage>> thumbnail{};
  std::shared_ptr<ObjcWrapper<NSImage>> icon{};
};

// One entry of a source list. A list owns one reference to each of its sources and releases them
// one by one when it is destroyed.
using ScreenSourceInfo = std::shared_ptr<const ScreenSource>;

}  // namespace movra::video

#endif  // MOVRA_VIDEO_SCREEN_SOURCE_INFO_H_
