#include "media/frame/resample_plane.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <numeric>
#include <utility>
#include <vector>

#include "libyuv/scale.h"
#include "media/frame/row_kernels.h"

namespace movra::media {
namespace {

using video::PixelFormat;
using video::Size;

// One direction of a plane.
struct Axis {
  int samples;    // Of the source.
  double extent;  // Of the source, in its samples; a fraction more where it was halved unevenly.
  int target_samples;

  [[nodiscard]] double ratio() const { return extent / target_samples; }
};

// Where averaging by two begins. Up to there the filter covers two groups, and the samples of a
// quad lie within sixteen bytes.
constexpr double kHighestRatio = 4;
constexpr int kMostTaps = 8;

// The samples of one target sample. Weights beyond the filter's width are 0.
struct Taps {
  int first = 0;
  std::array<std::int8_t, kMostTaps> weights{};
};

int GroupsOf(const Axis& axis) { return axis.ratio() > 2 ? 2 : 1; }

// The weights in whole parts, whose sum is exact. None may be the whole, which is no signed byte: a
// neighbour gets a part of it.
void Quantise(const std::array<double, kMostTaps>& shares, Taps& taps) {
  const double sum = std::accumulate(shares.begin(), shares.end(), 0.0);
  double so_far = 0;
  int given = 0;
  for (std::size_t i = 0; i < shares.size(); ++i) {
    so_far += shares[i];
    const int weight = static_cast<int>(so_far * kWeightSum / sum + 0.5) - given;
    given += weight;
    if (weight == kWeightSum) ++taps.weights[i == 0 ? 1 : i - 1];
    taps.weights[i] = static_cast<std::int8_t>(taps.weights[i] + std::min(weight, kWeightSum - 1));
  }
}

Taps TapsOf(const Axis& axis, int index) {
  const int count = GroupsOf(axis) * kGroup;
  const double reach = std::max(1.0, axis.ratio());
  const double center = (index + 0.5) * axis.ratio() - 0.5;
  const int leftmost = static_cast<int>(std::floor(center - reach)) + 1;
  const int last = axis.samples - 1;
  Taps taps;
  taps.first = std::clamp(leftmost, 0, std::max(0, axis.samples - count));
  std::array<double, kMostTaps> shares{};
  for (int sample = leftmost; sample < leftmost + count; ++sample) {
    const double share = reach - std::abs(sample - center);
    const auto place = static_cast<std::size_t>(std::clamp(sample, 0, last) - taps.first);
    if (share > 0) shares[place] += share;
  }
  Quantise(shares, taps);
  return taps;
}

std::vector<QuadTaps> QuadsOf(const Axis& axis) {
  const int groups = GroupsOf(axis);
  std::vector<QuadTaps> quads(static_cast<std::size_t>((axis.target_samples + 3) / 4 * groups));
  for (int index = 0; index < axis.target_samples; ++index) {
    const Taps taps = TapsOf(axis, index);
    for (int i = 0; i < groups * kGroup; ++i) {
      const int tap = i % kGroup;
      QuadTaps& quad = quads[static_cast<std::size_t>(index / 4 * groups + i / kGroup)];
      if (index % 4 == 0 && tap == 0) quad.start = taps.first + i;
      const auto at = static_cast<std::size_t>(index % 4 * 2 + tap % 2 + tap / 2 * 8);
      quad.offsets[at] = static_cast<std::uint8_t>(taps.first + i - quad.start);
      quad.weights[at] = taps.weights[static_cast<std::size_t>(i)];
    }
  }
  return quads;
}

// One row of the target's height and the source's width.
void MixRow(const SourcePlane& source, const Axis& down, int y, std::uint8_t* target) {
  const auto row = [&source](int index) {
    return source.data +
           static_cast<std::ptrdiff_t>(std::min(index, source.size.height - 1)) * source.stride;
  };
  const Taps taps = TapsOf(down, y);
  std::array<const std::uint8_t*, kMostTaps> rows{};
  for (int i = 0; i < kMostTaps; ++i) rows[static_cast<std::size_t>(i)] = row(taps.first + i);
  FastestRowKernels().mix_rows(rows.data(), taps.weights.data(), GroupsOf(down), source.size.width,
                               target);
}

// Down the columns into one row, then along that row, which is still in the nearest cache.
void Mix(const SourcePlane& source, const Axis& across, const Axis& down,
         const TargetPlane& target) {
  const bool same_width = across.ratio() == 1;
  const bool same_height = down.ratio() == 1;
  const std::vector<QuadTaps> quads = same_width ? std::vector<QuadTaps>() : QuadsOf(across);
  // Behind its end the row goes on with its last sample: a quad reads sixteen bytes in any case.
  constexpr std::size_t kMargin = 16 + kMostTaps;
  const auto width = static_cast<std::size_t>(source.size.width);
  std::vector<std::uint8_t> row(width + kMargin);
  for (int y = 0; y < target.size.height; ++y) {
    std::uint8_t* const out = target.data + static_cast<std::ptrdiff_t>(y) * target.stride;
    std::uint8_t* const mixed = same_width ? out : row.data();
    if (same_height) {
      std::memcpy(mixed, source.data + static_cast<std::ptrdiff_t>(y) * source.stride, width);
    } else {
      MixRow(source, down, y, mixed);
    }
    if (same_width) continue;
    std::memset(mixed + width, mixed[width - 1], kMargin);
    FastestRowKernels().mix_samples(mixed, quads.data(), GroupsOf(across), target.size.width, out);
  }
}

}  // namespace

void ResamplePlane(const SourcePlane& source, const TargetPlane& target, FramePool& pool) {
  Axis across{source.size.width, static_cast<double>(source.size.width), target.size.width};
  Axis down{source.size.height, static_cast<double>(source.size.height), target.size.height};
  SourcePlane from = source;
  WritableFrame halved;
  while (across.ratio() > kHighestRatio || down.ratio() > kHighestRatio) {
    const auto halve = [](Axis& axis) {
      if (axis.ratio() <= kHighestRatio) return;
      axis.samples /= 2;
      axis.extent /= 2;
    };
    const Size whole{across.samples, down.samples};
    halve(across);
    halve(down);
    WritableFrame next = pool.Allocate(PixelFormat::kGray, {across.samples, down.samples});
    if (!next) {
      libyuv::ScalePlane(from.data, from.stride, whole.width, whole.height, target.data,
                         target.stride, target.size.width, target.size.height, libyuv::kFilterNone);
      return;
    }
    // An odd sample at the end is left out, which `extent` remembers.
    const int width = across.samples == whole.width ? whole.width : across.samples * 2;
    const int height = down.samples == whole.height ? whole.height : down.samples * 2;
    libyuv::ScalePlane(from.data, from.stride, width, height, next.plane(0), next.stride(0),
                       across.samples, down.samples, libyuv::kFilterBox);
    halved = std::move(next);
    from = {halved.plane(0), halved.stride(0), halved.info().size};
  }
  Mix(from, across, down, target);
}

}  // namespace movra::media
