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
#include "libyuv/scale_argb.h"
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

  friend bool operator==(const Axis&, const Axis&) = default;
};

// Where averaging by two begins. Up to there the filter covers two groups, and what a quad reads
// lies within sixteen bytes.
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
    const int weight = static_cast<int>(std::lround(so_far * kWeightSum / sum)) - given;
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

// Four bytes of a target row come from each quad: four samples of a byte, or one pixel of four.
std::vector<QuadTaps> QuadsOf(const Axis& axis, int bytes_per_sample) {
  const int groups = GroupsOf(axis);
  const int row_bytes = axis.target_samples * bytes_per_sample;
  std::vector<QuadTaps> quads(static_cast<std::size_t>((row_bytes + 3) / 4 * groups));
  for (int index = 0; index < row_bytes; ++index) {
    const Taps taps = TapsOf(axis, index / bytes_per_sample);
    for (int i = 0; i < groups * kGroup; ++i) {
      const int tap = i % kGroup;
      QuadTaps& quad = quads[static_cast<std::size_t>(index / 4 * groups + i / kGroup)];
      const int from = (taps.first + i) * bytes_per_sample + index % bytes_per_sample;
      if (index % 4 == 0 && tap == 0) quad.start = from;
      const auto at = static_cast<std::size_t>(index % 4 * 2 + tap % 2 + tap / 2 * 8);
      quad.offsets[at] = static_cast<std::uint8_t>(from - quad.start);
      quad.weights[at] = taps.weights[static_cast<std::size_t>(i)];
    }
  }
  return quads;
}

// The planes of a stream's frames have two or three widths, so a thread asks for the same few again
// and again; making them costs a fifth of what using them does.
const std::vector<QuadTaps>& CachedQuads(const Axis& axis, int bytes_per_sample) {
  struct Entry {
    Axis axis;
    int bytes_per_sample;
    std::vector<QuadTaps> quads;
  };
  constexpr std::size_t kEntries = 4;
  thread_local std::vector<Entry> entries;
  for (const Entry& entry : entries) {
    if (entry.axis == axis && entry.bytes_per_sample == bytes_per_sample) return entry.quads;
  }
  if (entries.size() == kEntries) entries.erase(entries.begin());
  entries.push_back({axis, bytes_per_sample, QuadsOf(axis, bytes_per_sample)});
  return entries.back().quads;
}

// One row of the target's height and the source's width.
void MixRow(const SourcePlane& source, const Axis& down, int y, std::size_t bytes,
            std::uint8_t* target) {
  const Taps taps = TapsOf(down, y);
  std::array<const std::uint8_t*, kMostTaps> rows{};
  for (int i = 0; i < kMostTaps; ++i) {
    const int row = std::min(taps.first + i, source.size.height - 1);
    rows[static_cast<std::size_t>(i)] =
        source.data + static_cast<std::ptrdiff_t>(row) * source.stride;
  }
  FastestRowKernels().mix_rows(rows.data(), taps.weights.data(), GroupsOf(down),
                               static_cast<int>(bytes), target);
}

// Down the columns into one row, then along that row, which is still in the nearest cache.
void Mix(const SourcePlane& source, const Axis& across, const Axis& down,
         const TargetPlane& target) {
  const int bytes_per_sample = source.bytes_per_sample;
  const bool same_width = across.ratio() == 1;
  const bool same_height = down.ratio() == 1;
  const QuadTaps* const quads = same_width ? nullptr : CachedQuads(across, bytes_per_sample).data();
  // Behind its end the row goes on as at its edge: a narrow one has fewer samples than the filter,
  // and sixteen bytes are read from each quad's start in any case.
  const auto bytes = static_cast<std::size_t>(source.size.width * bytes_per_sample);
  const auto margin = static_cast<std::size_t>(kMostTaps * bytes_per_sample + 16);
  std::vector<std::uint8_t> row(bytes + margin);
  for (int y = 0; y < target.size.height; ++y) {
    std::uint8_t* const out = target.data + static_cast<std::ptrdiff_t>(y) * target.stride;
    std::uint8_t* const mixed = same_width ? out : row.data();
    if (same_height) {
      std::memcpy(mixed, source.data + static_cast<std::ptrdiff_t>(y) * source.stride, bytes);
    } else {
      MixRow(source, down, y, bytes, mixed);
    }
    if (same_width) continue;
    for (std::size_t i = 0; i < margin; ++i) {
      mixed[bytes + i] = mixed[bytes + i - static_cast<std::size_t>(bytes_per_sample)];
    }
    FastestRowKernels().mix_samples(mixed, quads, GroupsOf(across),
                                    target.size.width * bytes_per_sample, out);
  }
}

void Shrink(const SourcePlane& source, const Size& part, const Size& size,
            libyuv::FilterMode filter, std::uint8_t* target, int stride) {
  const auto shrink = [&](auto scale) {
    scale(source.data, source.stride, part.width, part.height, target, stride, size.width,
          size.height, filter);
  };
  source.bytes_per_sample == 1 ? shrink(libyuv::ScalePlane) : shrink(libyuv::ARGBScale);
}

// By two, where the filter would not cover the step. An odd sample at the end is left out, which
// the extent remembers. Empty if there is no memory.
WritableFrame Halve(const SourcePlane& source, Axis& across, Axis& down, FramePool& pool) {
  Size part = source.size;
  const auto halve = [](Axis& axis, std::int32_t& samples) {
    if (axis.ratio() <= kHighestRatio) return;
    axis.samples /= 2;
    axis.extent /= 2;
    samples = axis.samples * 2;
  };
  halve(across, part.width);
  halve(down, part.height);
  const PixelFormat format = source.bytes_per_sample == 1 ? PixelFormat::kGray : PixelFormat::kBGRA;
  WritableFrame halved = pool.Allocate(format, {across.samples, down.samples});
  if (!halved) return {};
  Shrink(source, part, halved.info().size, libyuv::kFilterBox, halved.plane(0), halved.stride(0));
  return halved;
}

}  // namespace

void ResamplePlane(const SourcePlane& source, const TargetPlane& target, FramePool& pool) {
  Axis across{source.size.width, static_cast<double>(source.size.width), target.size.width};
  Axis down{source.size.height, static_cast<double>(source.size.height), target.size.height};
  SourcePlane from = source;
  WritableFrame halved;
  while (across.ratio() > kHighestRatio || down.ratio() > kHighestRatio) {
    WritableFrame next = Halve(from, across, down, pool);
    if (!next) {
      return Shrink(source, source.size, target.size, libyuv::kFilterNone, target.data,
                    target.stride);
    }
    halved = std::move(next);
    from.data = halved.plane(0);
    from.stride = halved.stride(0);
    from.size = halved.info().size;
  }
  Mix(from, across, down, target);
}

}  // namespace movra::media
