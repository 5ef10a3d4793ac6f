#ifndef MOVRA_MEDIA_ENCODE_REGION_OFFSETS_H_
#define MOVRA_MEDIA_ENCODE_REGION_OFFSETS_H_

#include <vector>

#include "video/encode_params.h"
#include "video/size.h"

namespace movra::media {

// The quantiser offset of each macroblock (16x16 pixels, row by row) of a picture with regions of
// interest. A macroblock that a region touches gets its offset; where regions overlap, the last one
// counts. Offsets are limited to H.264's range, -51 to 51. Empty when there is no region.
[[nodiscard]] std::vector<float> RegionOffsets(const std::vector<video::RoiConfigInfo>& regions,
                                               const video::Size& size);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_ENCODE_REGION_OFFSETS_H_
