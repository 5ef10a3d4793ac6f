#ifndef MOVRA_MEDIA_EFFECTS_ORIENT_STAGE_H_
#define MOVRA_MEDIA_EFFECTS_ORIENT_STAGE_H_

#include <memory>

#include "media/effects/frame_stage.h"

namespace movra::media {

// Turns and mirrors the picture. What comes out has no rotation left to be applied.
class OrientStage final : public IFrameStage {
 public:
  enum class Purpose {
    kUpright,      // By the frame's own rotation and what is set on top of it.
    kForEncoders,  // By what is set for the encoders alone.
  };

  explicit OrientStage(Purpose purpose) : purpose_(purpose) {}

  // IFrameStage
  [[nodiscard]] const char* name() const override { return "upright"; }
  [[nodiscard]] std::shared_ptr<const IPreparedStage> Prepare(
      const StageSettings& settings) override;

 private:
  const Purpose purpose_;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_EFFECTS_ORIENT_STAGE_H_
