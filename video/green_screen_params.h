#ifndef MOVRA_VIDEO_GREEN_SCREEN_PARAMS_H_
#define MOVRA_VIDEO_GREEN_SCREEN_PARAMS_H_

#include <cstdint>
#include <memory>

#include "video/objc_wrapper.h"

namespace movra::video {

// Replaces a key colour by a background image.
struct GreenScreenParams {
  bool enabled = false;
  std::uint32_t key_color = 0x00FF00;  // 0xRRGGBB.
  float similarity = 0.4F;             // 0: only the key colour itself; 1: every colour.
  float smoothness = 0.1F;             // Width of the soft edge, 0 to 1.
  std::shared_ptr<ObjcWrapper<NSImage>> background{};  // Null: black.
};

}  // namespace movra::video

#endif  // MOVRA_VIDEO_GREEN_SCREEN_PARAMS_H_
