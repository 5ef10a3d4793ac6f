#include "media/frame/row_kernels.h"

#include <algorithm>
#include <cstddef>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace movra::media {
namespace {

std::uint8_t Mean(int sum) {
  return static_cast<std::uint8_t>((sum + kWeightSum / 2) / kWeightSum);
}

void MixRowsFrom(int begin, const std::uint8_t* const* rows, const std::int8_t* weights, int groups,
                 int width, std::uint8_t* target) {
  for (int x = begin; x < width; ++x) {
    int sum = 0;
    for (int i = 0; i < groups * kGroup; ++i) sum += rows[i][x] * weights[i];
    target[x] = Mean(sum);
  }
}

int SumOf(const std::uint8_t* source, const QuadTaps& quad, int x) {
  int sum = 0;
  for (const int i : {2 * x, 2 * x + 1, 2 * x + 8, 2 * x + 9}) {
    const auto at = static_cast<std::size_t>(i);
    sum += source[quad.start + quad.offsets[at]] * quad.weights[at];
  }
  return sum;
}

void MixRowsPortably(const std::uint8_t* const* rows, const std::int8_t* weights, int groups,
                     int width, std::uint8_t* target) {
  MixRowsFrom(0, rows, weights, groups, width, target);
}

void MixSamplesPortably(const std::uint8_t* source, const QuadTaps* quads, int groups, int width,
                        std::uint8_t* target) {
  for (int x = 0; x < width; ++x) {
    int sum = 0;
    for (int group = 0; group < groups; ++group) {
      sum += SumOf(source, quads[x / 4 * groups + group], x % 4);
    }
    target[x] = Mean(sum);
  }
}

constexpr RowKernels kPortable{&MixRowsPortably, &MixSamplesPortably};

#if defined(__x86_64__)

// The instruction sets are asked for function by function, because the rest of the program is to
// run on processors without them.
#define MOVRA_AVX2 __attribute__((target("avx2")))

MOVRA_AVX2 inline __m256i Load32(const std::uint8_t* bytes) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes));
}

MOVRA_AVX2 inline __m128i Load16(const void* bytes) {
  return _mm_loadu_si128(static_cast<const __m128i*>(bytes));
}

// Two weights as the pair of bytes that they are multiplied by.
MOVRA_AVX2 inline __m256i Pair(const std::int8_t* weights) {
  return _mm256_set1_epi16(
      static_cast<short>(static_cast<std::uint8_t>(weights[0]) | weights[1] << 8));
}

// The number of groups is known to the compiler, so that weights stay in registers.
template <int kGroups>
MOVRA_AVX2 void MixRowsOf(const std::uint8_t* const* rows, const std::int8_t* weights, int width,
                          std::uint8_t* target) {
  constexpr int kPairs = kGroups * kGroup / 2;
  __m256i pairs[kPairs];
  for (int i = 0; i < kPairs; ++i) pairs[i] = Pair(weights + 2 * i);
  int x = 0;
  for (; x + 32 <= width; x += 32) {
    __m256i low = _mm256_set1_epi16(kWeightSum / 2);
    __m256i high = low;
    for (int i = 0; i < kPairs; ++i) {
      const __m256i first = Load32(rows[2 * i] + x);
      const __m256i second = Load32(rows[2 * i + 1] + x);
      const __m256i left = _mm256_maddubs_epi16(_mm256_unpacklo_epi8(first, second), pairs[i]);
      const __m256i right = _mm256_maddubs_epi16(_mm256_unpackhi_epi8(first, second), pairs[i]);
      low = _mm256_add_epi16(low, left);
      high = _mm256_add_epi16(high, right);
    }
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(target + x),
                        _mm256_packus_epi16(_mm256_srli_epi16(low, 7), _mm256_srli_epi16(high, 7)));
  }
  MixRowsFrom(x, rows, weights, kGroups, width, target);
}

// The sums of the first two of each group in the lower half, of the other two in the upper one.
template <int kGroups>
MOVRA_AVX2 inline __m128i HalfSums(const std::uint8_t* source, const QuadTaps* quads) {
  __m128i sums = _mm_setzero_si128();
  for (int group = 0; group < kGroups; ++group) {
    const QuadTaps& quad = quads[group];
    const __m128i samples =
        _mm_shuffle_epi8(Load16(source + quad.start), Load16(quad.offsets.data()));
    sums = _mm_add_epi16(sums, _mm_maddubs_epi16(samples, Load16(quad.weights.data())));
  }
  return sums;
}

template <int kGroups>
MOVRA_AVX2 void MixSamplesOf(const std::uint8_t* source, const QuadTaps* quads, int width,
                             std::uint8_t* target) {
  const __m128i half = _mm_set1_epi16(kWeightSum / 2);
  int x = 0;
  for (; x + 8 <= width; x += 8, quads += 2 * kGroups) {
    const __m128i left = HalfSums<kGroups>(source, quads);
    const __m128i right = HalfSums<kGroups>(source, quads + kGroups);
    const __m128i sum =
        _mm_add_epi16(_mm_unpacklo_epi64(left, right), _mm_unpackhi_epi64(left, right));
    const __m128i mean = _mm_srli_epi16(_mm_add_epi16(sum, half), 7);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(target + x), _mm_packus_epi16(mean, mean));
  }
  MixSamplesPortably(source, quads, kGroups, width - x, target + x);
}

void MixRowsAvx2(const std::uint8_t* const* rows, const std::int8_t* weights, int groups, int width,
                 std::uint8_t* target) {
  groups == 1 ? MixRowsOf<1>(rows, weights, width, target)
              : MixRowsOf<2>(rows, weights, width, target);
}

void MixSamplesAvx2(const std::uint8_t* source, const QuadTaps* quads, int groups, int width,
                    std::uint8_t* target) {
  groups == 1 ? MixSamplesOf<1>(source, quads, width, target)
              : MixSamplesOf<2>(source, quads, width, target);
}

constexpr RowKernels kAvx2{&MixRowsAvx2, &MixSamplesAvx2};

#endif

}  // namespace

const RowKernels& PortableRowKernels() { return kPortable; }

const RowKernels& FastestRowKernels() {
#if defined(__x86_64__)
  if (__builtin_cpu_supports("avx2") != 0) return kAvx2;
#endif
  return kPortable;
}

}  // namespace movra::media
