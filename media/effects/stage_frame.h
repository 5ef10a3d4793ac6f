#ifndef MOVRA_MEDIA_EFFECTS_STAGE_FRAME_H_
#define MOVRA_MEDIA_EFFECTS_STAGE_FRAME_H_

#include "media/frame/frame_pool.h"
#include "media/frame/writable_frame.h"
#include "video/pixel_frame.h"

namespace movra::media {

// A frame in the hands of a stage, which draws into it or replaces it.
//
//   WritableFrame* const picture = frame.Write();
//   if (picture == nullptr) return false;
//   Draw(picture->plane(0), picture->stride(0));
//   return true;
//
// A stage that wants another format replaces the picture first:
//
//   frame.Replace(ConvertFrame(frame.picture(), video::PixelFormat::kBGRA, frame.pool()));
//
// One thread at a time; `pool` outlives it.
class StageFrame {
 public:
  StageFrame(video::PixelFrame frame, FramePool& pool);

  [[nodiscard]] const video::PixelFrameInfo& info() const;

  // To make another picture from; ends a Write. Empty if there was no memory to write.
  [[nodiscard]] const video::PixelFrame& picture();

  // To be drawn into: in place if nobody else has the samples, otherwise a copy. Valid until the
  // next call of picture or Replace. Null if there is no picture or no memory; the picture is lost
  // then.
  [[nodiscard]] WritableFrame* Write();

  // Goes on with this picture instead, as the same frame of the stream.
  void Replace(const video::PixelFrame& picture);

  [[nodiscard]] FramePool& pool() { return pool_; }

 private:
  FramePool& pool_;
  // One of the two.
  video::PixelFrame frame_;
  WritableFrame writable_;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_EFFECTS_STAGE_FRAME_H_
