#include "media/effects/orient_stage.h"

#include "media/frame/orient_frame.h"

namespace movra::media {

using video::PixelFrameInfo;
using video::VideoRotation;

namespace {

class PreparedOrient final : public IPreparedStage {
 public:
  PreparedOrient(const Orientation& orientation, bool adds_own)
      : orientation_(orientation), adds_own_(adds_own) {}

  [[nodiscard]] bool IsNeededFor(const PixelFrameInfo& frame) const override {
    const Orientation wanted = OrientationOf(frame);
    return wanted.mirror || wanted.rotation != VideoRotation::k0 ||
           frame.rotation != VideoRotation::k0;
  }

  [[nodiscard]] bool Process(StageFrame& frame) const override {
    const video::PixelFrame turned =
        OrientFrame(frame.picture(), OrientationOf(frame.info()), frame.pool());
    if (!turned) return false;
    PixelFrameInfo info = turned.info();
    info.rotation = VideoRotation::k0;
    frame.Replace(turned.WithInfo(info));
    return true;
  }

 private:
  // By adding, values without a name turn nothing.
  [[nodiscard]] Orientation OrientationOf(const PixelFrameInfo& frame) const {
    const VideoRotation own = adds_own_ ? frame.rotation : VideoRotation::k0;
    return {AddRotations(own, orientation_.rotation), orientation_.mirror};
  }

  const Orientation orientation_;
  const bool adds_own_;
};

}  // namespace

std::shared_ptr<const IPreparedStage> OrientStage::Prepare(const StageSettings& settings) {
  const bool is_upright = purpose_ == Purpose::kUpright;
  return std::make_shared<PreparedOrient>(
      is_upright ? settings.orientation : settings.encoder_orientation, is_upright);
}

}  // namespace movra::media
