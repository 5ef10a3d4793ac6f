// The two inner loops of scaling: weighted means of samples, down a column or along a row.

#ifndef MOVRA_MEDIA_FRAME_ROW_KERNELS_H_
#define MOVRA_MEDIA_FRAME_ROW_KERNELS_H_

#include <array>
#include <cstdint>

namespace movra::media {

// What the weights of one mean add up to. Each is between 0 and kWeightSum - 1, so that it is a
// signed byte and no sum leaves 16 bits.
inline constexpr int kWeightSum = 128;

// Samples go into a mean in one or two groups of this many neighbours.
inline constexpr int kGroup = 4;

// How one group of each of four neighbouring target bytes comes from sixteen bytes of a source row:
// byte i of `weights` belongs to the byte `offsets[i]` behind `start`. The first eight are the
// first two of the group for each target byte in turn, the last eight the other two.
struct QuadTaps {
  alignas(16) std::array<std::uint8_t, 16> offsets{};  // Below 16.
  alignas(16) std::array<std::int8_t, 16> weights{};
  std::int32_t start = 0;
};

// Functions without state, for any thread. Means are rounded to the nearest, halves up.
struct RowKernels {
  // target[x] = the mean of all rows[...][x]; there are `groups` times kGroup rows and weights.
  void (*mix_rows)(const std::uint8_t* const* rows, const std::int8_t* weights, int groups,
                   int width, std::uint8_t* target);

  // Writes `width` samples. For every four begun there are `groups` quads in succession. Sixteen
  // bytes of the source are read from each quad's start.
  void (*mix_samples)(const std::uint8_t* source, const QuadTaps* quads, int groups, int width,
                      std::uint8_t* target);
};

// For any processor.
[[nodiscard]] const RowKernels& PortableRowKernels();

// The fastest for this one; their results are the same to the bit.
[[nodiscard]] const RowKernels& FastestRowKernels();

}  // namespace movra::media

#endif  // MOVRA_MEDIA_FRAME_ROW_KERNELS_H_
