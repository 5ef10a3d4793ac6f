#ifndef MOVRA_MEDIA_FRAME_RESAMPLE_PLANE_H_
#define MOVRA_MEDIA_FRAME_RESAMPLE_PLANE_H_

#include <cstdint>

#include "media/frame/frame_pool.h"
#include "video/size.h"

namespace movra::media {

// Samples are single bytes, or pixels of four. Sizes are in samples and at least 1x1.
struct SourcePlane {
  const std::uint8_t* data = nullptr;
  int stride = 0;  // Bytes.
  video::Size size{};
  int bytes_per_sample = 1;  // Or 4; the target's too.
};

struct TargetPlane {
  std::uint8_t* data = nullptr;
  int stride = 0;
  video::Size size{};
};

// Scales a plane with the bilinear filter, which is widened to the distance of the target's samples
// when it shrinks, so that every source sample counts and nothing flickers. The planes' outlines
// are laid over each other: sample centres lie half a sample inside. What is beyond the edge is the
// sample at the edge.
//
// Beyond a factor of four the plane is first averaged down by two, as often as it takes; `pool`
// lends the memory for that (where it has none, samples are left out). Any thread.
void ResamplePlane(const SourcePlane& source, const TargetPlane& target, FramePool& pool);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_FRAME_RESAMPLE_PLANE_H_
