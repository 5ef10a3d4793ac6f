#ifndef MOVRA_MEDIA_EFFECTS_STAGE_SETTINGS_H_
#define MOVRA_MEDIA_EFFECTS_STAGE_SETTINGS_H_

#include <memory>

#include "media/frame/orient_frame.h"
#include "video/capture_params.h"
#include "video/green_screen_params.h"
#include "video/objc_wrapper.h"
#include "video/video_types.h"

namespace movra::media {

// The levels are fractions, 0 to 1; applications may send others.
struct BeautySettings {
  video::BeautyStyle style = video::BeautyStyle::kSmooth;
  float level = 0;
  float whiteness = 0;
  float ruddy = 0;

  [[nodiscard]] bool is_on() const {
    return style != video::BeautyStyle::kSmooth || level > 0 || whiteness > 0 || ruddy > 0;
  }
  friend bool operator==(const BeautySettings&, const BeautySettings&) = default;
};

// One look-up image or two; a null one filters nothing. The first covers `ratio` of the picture's
// width, from the left, the second one the rest.
struct ColorFilterSettings {
  std::shared_ptr<video::ObjcWrapper<NSImage>> first{};
  float first_strength = 1;
  std::shared_ptr<video::ObjcWrapper<NSImage>> second{};
  float second_strength = 1;
  float ratio = 1;

  [[nodiscard]] bool is_on() const { return first != nullptr || second != nullptr; }
  friend bool operator==(const ColorFilterSettings&, const ColorFilterSettings&) = default;
};

// In fractions of the picture; the height follows the image's shape. Where the preview is tapped
// says whether it shows the watermark, so the flag for that is not the stage's.
struct WatermarkSettings {
  std::shared_ptr<video::ObjcWrapper<NSImage>> image{};
  double x = 0;
  double y = 0;
  double width = 0;

  [[nodiscard]] bool is_on() const { return image != nullptr; }
  friend bool operator==(const WatermarkSettings&, const WatermarkSettings&) = default;
};

// What applications have set, for all stages: one may need to know what another one will do (a
// watermark is drawn so that it is upright and unmirrored behind the turn for the encoders).
struct StageSettings {
  Orientation orientation{};          // On top of the frame's own rotation.
  Orientation encoder_orientation{};  // On top of that, for the encoders.
  std::shared_ptr<const video::VideoCoverImageParams> cover{};  // Null: none.
  video::GreenScreenParams green_screen{};
  BeautySettings beauty{};
  ColorFilterSettings color_filter{};
  WatermarkSettings watermark{};
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_EFFECTS_STAGE_SETTINGS_H_
