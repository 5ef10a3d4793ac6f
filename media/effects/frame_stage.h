// What a stage of the preprocessor is: an effect, a turn, whatever changes the picture.
//
// To add one: write it in a file of its own, as UnavailableStage shows, and put it into its row of
// MakeStageRows (media/preprocess/stage_table.cpp). Whatever an application can set is in
// StageSettings already.

#ifndef MOVRA_MEDIA_EFFECTS_FRAME_STAGE_H_
#define MOVRA_MEDIA_EFFECTS_FRAME_STAGE_H_

#include <memory>

#include "media/effects/stage_frame.h"
#include "media/effects/stage_settings.h"
#include "video/pixel_frame.h"

namespace movra::media {

// What a stage made of its settings. It travels with the settings of the preprocessor: a frame that
// is on its way goes on with what held for it, whatever is prepared meanwhile. So nothing that
// others see changes in it; what it remembers for itself (an image at the size of the last frame,
// say) may.
//
// Called on the preprocessor queue, one frame at a time, and destroyed on any thread. It never
// waits. What it throws is told once in the log, and its stage is passed by from then on; the frame
// goes on as it was left.
class IPreparedStage {
 public:
  virtual ~IPreparedStage() = default;

  // Asked for each frame. One that does not need the stage goes by as it is, at no cost.
  [[nodiscard]] virtual bool IsNeededFor(const video::PixelFrameInfo& frame) const = 0;

  // Changes the picture or replaces it. False if the picture cannot be made: that is told in the
  // log, and the frame goes no further: it might show what the effect was to hide.
  [[nodiscard]] virtual bool Process(StageFrame& frame) const = 0;
};

// A row of the preprocessor's table. It knows neither the other rows nor who is shown the picture.
class IFrameStage {
 public:
  virtual ~IFrameStage() = default;

  // For the log: "Cannot make the <name> picture ...". A literal.
  [[nodiscard]] virtual const char* name() const = 0;

  // Makes whatever takes time and does not depend on the frame: look-up tables, images in another
  // format. Called on the main queue, before the first frame and whenever any stage's settings
  // change; a stage whose own did not change answers what it answered before. Null if there is
  // nothing to do with these settings. What it throws is told once, and ends the stage too.
  [[nodiscard]] virtual std::shared_ptr<const IPreparedStage> Prepare(
      const StageSettings& settings) = 0;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_EFFECTS_FRAME_STAGE_H_
