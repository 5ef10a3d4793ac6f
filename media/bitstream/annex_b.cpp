#include "media/bitstream/annex_b.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace movra::media {
namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::array<std::uint8_t, 3> kStartCode{0, 0, 1};

// Where the next start code begins, at or behind `from`; the stream's size if there is none.
std::size_t FindStartCode(Bytes stream, std::size_t from) {
  const auto begin = stream.begin() + static_cast<std::ptrdiff_t>(from);
  const auto found = std::search(begin, stream.end(), kStartCode.begin(), kStartCode.end());
  return static_cast<std::size_t>(found - stream.begin());
}

// A unit never ends in a zero byte; those behind it belong to the next start code.
Bytes WithoutTrailingZeros(Bytes unit) {
  while (!unit.empty() && unit.back() == 0) unit = unit.first(unit.size() - 1);
  return unit;
}

}  // namespace

std::vector<Bytes> NalUnits(Bytes stream) {
  std::vector<Bytes> units;
  std::size_t start = FindStartCode(stream, 0);
  while (start < stream.size()) {
    const std::size_t begin = start + kStartCode.size();
    start = FindStartCode(stream, begin);
    const Bytes unit = WithoutTrailingZeros(stream.subspan(begin, start - begin));
    if (!unit.empty()) units.push_back(unit);
  }
  return units;
}

void AppendNalUnit(Bytes unit, std::vector<std::uint8_t>& stream) {
  stream.push_back(0);
  stream.insert(stream.end(), kStartCode.begin(), kStartCode.end());
  stream.insert(stream.end(), unit.begin(), unit.end());
}

}  // namespace movra::media
