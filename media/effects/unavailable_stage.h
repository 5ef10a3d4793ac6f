#ifndef MOVRA_MEDIA_EFFECTS_UNAVAILABLE_STAGE_H_
#define MOVRA_MEDIA_EFFECTS_UNAVAILABLE_STAGE_H_

#include <memory>

#include "media/effects/frame_stage.h"
#include "video/video_context.h"

namespace movra::media {

// Holds the row of an effect that is not there yet: the first request for it is answered by a line
// in the log, and pictures stay as they are.
class UnavailableStage final : public IFrameStage {
 public:
  using IsWanted = bool (*)(const StageSettings&);

  // `effect` is a literal.
  UnavailableStage(video::VideoContext context, const char* effect, IsWanted is_wanted);

  // IFrameStage
  [[nodiscard]] const char* name() const override { return effect_; }
  [[nodiscard]] std::shared_ptr<const IPreparedStage> Prepare(
      const StageSettings& settings) override;

 private:
  const video::VideoContext context_;
  const char* const effect_;
  const IsWanted is_wanted_;
  bool is_reported_ = false;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_EFFECTS_UNAVAILABLE_STAGE_H_
