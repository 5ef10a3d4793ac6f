#include "media/bitstream/h264.h"

#include <algorithm>
#include <cstddef>

#include "media/bitstream/annex_b.h"

namespace movra::media::h264 {

using Bytes = std::span<const std::uint8_t>;

int NalUnitType(Bytes unit) { return unit.empty() ? 0 : unit[0] & 0x1F; }

std::vector<std::uint8_t> ParameterSets(Bytes stream) {
  std::vector<std::uint8_t> sets;
  bool has_sequence = false;
  bool has_picture = false;
  for (const Bytes unit : NalUnits(stream)) {
    const int type = NalUnitType(unit);
    if (type != kNalSequenceParameterSet && type != kNalPictureParameterSet) continue;
    (type == kNalSequenceParameterSet ? has_sequence : has_picture) = true;
    AppendNalUnit(unit, sets);
  }
  if (!has_sequence || !has_picture) sets.clear();
  return sets;
}

bool IsKeyFrame(Bytes stream) {
  const auto units = NalUnits(stream);
  return std::any_of(units.begin(), units.end(),
                     [](Bytes unit) { return NalUnitType(unit) == kNalInstantRefreshSlice; });
}

std::string CodecsString(Bytes stream) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  // Behind the unit's own header. None of them is ever escaped: the first is not zero.
  constexpr std::size_t kProfileAndLevelBytes = 3;
  for (const Bytes unit : NalUnits(stream)) {
    if (NalUnitType(unit) != kNalSequenceParameterSet) continue;
    if (unit.size() <= kProfileAndLevelBytes) return {};
    std::string text = "avc1.";
    for (const std::uint8_t byte : unit.subspan(1, kProfileAndLevelBytes)) {
      text += kDigits[byte >> 4];
      text += kDigits[byte & 0xF];
    }
    return text;
  }
  return {};
}

}  // namespace movra::media::h264
