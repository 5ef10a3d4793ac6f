#include "media/preprocess/output_maker.h"

#include <array>
#include <cstdint>
#include <utility>

#include "media/frame/convert_frame.h"
#include "media/frame/fill_black.h"
#include "media/frame/frame_layout.h"
#include "media/frame/scale_frame.h"

namespace movra::media {

using video::PixelFormat;
using video::PixelFrame;
using video::Region;
using video::Size;

namespace {

// The format to scale in: where YUV becomes RGB the frame's own, which has fewer samples; where RGB
// becomes YUV the other one, for the same reason.
PixelFormat WorkingFormat(PixelFormat from, PixelFormat to) {
  return ScalableFormat(IsRgb(to) ? from : to);
}

// Bars are what the picture does not cover. The picture's offsets are even, and it ends at an even
// place or at the edge.
void AddBars(WritableFrame& frame, const Region& picture) {
  const Size& size = frame.info().size;
  const std::int32_t right = picture.x + picture.width;
  const std::int32_t bottom = picture.y + picture.height;
  FillBlack(frame, {0, 0, size.width, picture.y});
  FillBlack(frame, {0, bottom, size.width, size.height - bottom});
  FillBlack(frame, {0, picture.y, picture.x, picture.height});
  FillBlack(frame, {right, picture.y, size.width - right, picture.height});
}

}  // namespace

OutputMaker::OutputMaker(PixelFrame frame, video::FrameAdaptiveMode mode, FramePool& pool)
    : frame_(std::move(frame)), mode_(mode), pool_(pool) {}

PixelFrame OutputMaker::Make(const Size& size, PixelFormat format) {
  const Size& own = frame_.info().size;
  const Size wanted{size.width > 0 ? size.width : own.width,
                    size.height > 0 ? size.height : own.height};
  if (format == PixelFormat::kNone) format = frame_.info().format;
  for (const Converted& made : converted_) {
    if (made.size == wanted && made.frame.info().format == format) return made.frame;
  }
  PixelFrame made = ConvertFrame(
      wanted == own ? frame_ : Resized(wanted, WorkingFormat(frame_.info().format, format)), format,
      pool_);
  if (made) converted_.push_back({wanted, made});
  return made;
}

PixelFrame OutputMaker::Resized(const Size& size, PixelFormat format) {
  for (const Scaled& made : scaled_) {
    if (made.size == size && made.frame.info().format == format) return made.frame;
  }
  const Placement placement = Place(frame_.info().size, size, mode_);
  const Source source = FindSource(placement, format);
  if (!source.frame) return {};
  PixelFrame made = Scale(size, placement, source);
  if (made) scaled_.push_back({size, placement, made});
  return made;
}

PixelFrame OutputMaker::Scale(const Size& size, const Placement& placement, const Source& source) {
  const video::PixelFrameInfo cropped = CropTo(source.frame.info(), source.part);
  if (cropped.size == size) return source.frame.WithInfo(cropped);
  WritableFrame target = pool_.Allocate(cropped.format, size, cropped);
  if (!target) return {};
  ScaleInto(cropped, target, placement.target, pool_);
  AddBars(target, placement.target);
  return std::move(target).Finish();
}

OutputMaker::Source OutputMaker::FindSource(const Placement& placement, PixelFormat format) {
  if (const auto part = PartBeforeEnlarging(placement)) {
    const PixelFrame picture = frame_.enlarged_from()->InStreamOf(frame_.info());
    return {ConvertFrame(picture, format, pool_), *part};
  }
  const Scaled* const larger = FindScaled(placement, format);
  if (larger != nullptr) return {larger->frame, larger->placement.target};
  return {Make({}, format), placement.source};
}

std::optional<Region> OutputMaker::PartBeforeEnlarging(const Placement& placement) const {
  const PixelFrame* const picture = frame_.enlarged_from();
  if (picture == nullptr) return std::nullopt;
  const Size& from = frame_.info().size;
  const Size& to = picture->info().size;
  const Region& part = placement.source;
  const std::array along_x{part.x * to.width, part.width * to.width};
  const std::array along_y{part.y * to.height, part.height * to.height};
  // Only where it begins and ends at whole samples, of chroma too.
  const auto is_whole = [](const std::array<std::int32_t, 2>& sides, std::int32_t unit) {
    return sides[0] % (2 * unit) == 0 && sides[1] % unit == 0;
  };
  if (!is_whole(along_x, from.width) || !is_whole(along_y, from.height)) return std::nullopt;
  const Region found{along_x[0] / from.width, along_y[0] / from.height, along_x[1] / from.width,
                     along_y[1] / from.height};
  const bool serves =
      found.width >= placement.target.width && found.height >= placement.target.height;
  return serves ? std::optional(found) : std::nullopt;
}

const OutputMaker::Scaled* OutputMaker::FindScaled(const Placement& placement,
                                                   PixelFormat format) const {
  const Scaled* best = nullptr;
  for (const Scaled& made : scaled_) {
    const Region& picture = made.placement.target;
    const bool fits = made.frame.info().format == format &&
                      made.placement.source == placement.source &&
                      picture.width >= 2 * placement.target.width &&
                      picture.height >= 2 * placement.target.height;
    if (fits && (best == nullptr || picture.width < best->placement.target.width)) best = &made;
  }
  return best;
}

}  // namespace movra::media
