// What applications set: for the stages, for the encoders' taps, and what changes nothing.

#include <utility>

#include "media/preprocess/preprocessor.h"

namespace movra::media {

using Image = video::ObjcWrapper<NSImage>;

void Preprocessor::SetBeautyStyle(video::BeautyStyle style) {
  ChangeStages([&](StageSettings& settings) { settings.beauty.style = style; });
}

void Preprocessor::SetBeautyLevel(float level) {
  ChangeStages([&](StageSettings& settings) { settings.beauty.level = level; });
}

void Preprocessor::SetWhitenessLevel(float level) {
  ChangeStages([&](StageSettings& settings) { settings.beauty.whiteness = level; });
}

void Preprocessor::SetRuddyLevel(float level) {
  ChangeStages([&](StageSettings& settings) { settings.beauty.ruddy = level; });
}

// The strength stays as it is: it has an operation of its own.
void Preprocessor::SetLUTColorFilter(std::shared_ptr<Image> filter) {
  ChangeStages([&](StageSettings& settings) {
    ColorFilterSettings only;
    only.first = std::move(filter);
    only.first_strength = settings.color_filter.first_strength;
    settings.color_filter = std::move(only);
  });
}

void Preprocessor::SetLUTColorFilterStrength(float strength) {
  ChangeStages([&](StageSettings& settings) { settings.color_filter.first_strength = strength; });
}

void Preprocessor::SetLUTColorFilter(std::shared_ptr<Image> first, float first_strength,
                                     std::shared_ptr<Image> second, float second_strength,
                                     float ratio) {
  ChangeStages([&](StageSettings& settings) {
    settings.color_filter = {std::move(first), first_strength, std::move(second), second_strength,
                             ratio};
  });
}

void Preprocessor::SetGreenScreenParams(const video::GreenScreenParams& params) {
  ChangeStages([&](StageSettings& settings) { settings.green_screen = params; });
}

// Which position the preview is tapped at says whether it shows the watermark.
void Preprocessor::SetWatermark(std::shared_ptr<Image> image, double x, double y, double width,
                                bool /*in_preview*/) {
  ChangeStages([&](StageSettings& settings) {
    settings.watermark = {std::move(image), x, y, width};
  });
}

void Preprocessor::SetCoverImageParams(std::shared_ptr<video::VideoCoverImageParams> params) {
  ChangeStages([&](StageSettings& settings) { settings.cover = std::move(params); });
}

void Preprocessor::SetMirror(video::MirrorMode mode) {
  // Automatic means a mirror for cameras that face the user; none here says that it does.
  ChangeStages([&](StageSettings& settings) {
    settings.orientation.mirror = mode == video::MirrorMode::kEnabled;
  });
}

void Preprocessor::SetRotation(video::VideoRotation rotation) {
  ChangeStages([&](StageSettings& settings) { settings.orientation.rotation = rotation; });
}

void Preprocessor::SetEncoderMirror(bool mirror) {
  ChangeStages([&](StageSettings& settings) { settings.encoder_orientation.mirror = mirror; });
}

// Holds for the taps that are there, until each is added anew with the size of its own.
void Preprocessor::SetEncoderOutputSize(int width, int height) {
  checker_.Check();
  Change([&](PipelineSettings& settings) {
    for (Tap& tap : settings.taps) {
      if (!tap.is_for_encoder || tap.params.stream_type == video::VideoStreamType::kSmall) continue;
      tap.params.width = width;
      tap.params.height = height;
    }
  });
}

void Preprocessor::SetEncoderRotation(video::VideoRotation rotation) {
  ChangeStages([&](StageSettings& settings) { settings.encoder_orientation.rotation = rotation; });
}

void Preprocessor::SetFrameAdaptiveMode(video::FrameAdaptiveMode mode) {
  checker_.Check();
  Change([&](PipelineSettings& settings) { settings.adaptive_mode = mode; });
}

// What these tell changes nothing here: sizes and modes arrive with the taps and the adaptive mode,
// and there is no sensor that would say how the device is held.
void Preprocessor::SetSourceType(video::VideoSourceType /*type*/) { checker_.Check(); }
void Preprocessor::SetProducerMode(video::ProducerMode /*mode*/) { checker_.Check(); }
void Preprocessor::SetFrameAdaptiveFlag(bool /*flag*/) { checker_.Check(); }
void Preprocessor::SetGSensorMode(video::GSensorMode /*mode*/) { checker_.Check(); }

void Preprocessor::ChangeStages(const std::function<void(StageSettings&)>& change,
                                const char* operation) {
  checker_.Check(operation);
  change(stage_settings_);
  FrameWay way = stages_.Prepare(stage_settings_);
  Change([&](PipelineSettings& settings) { settings.way = std::move(way); });
}

}  // namespace movra::media
