#include "media/file/transport_gap.h"

#include <algorithm>
#include <cstddef>
#include <optional>

namespace movra::media {
namespace {

constexpr std::size_t kShortest = 188;
constexpr std::uint8_t kSync = 0x47;
constexpr int kCounters = 16;

// By where the next one begins.
std::size_t PacketSize(std::span<const std::uint8_t> part) {
  for (const std::size_t size : {kShortest, std::size_t{192}, std::size_t{204}}) {
    if (part.size() > size && part[size] == kSync) return size;
  }
  return kShortest;
}

int StreamOf(std::span<const std::uint8_t> packet) { return (packet[1] & 0x1F) << 8 | packet[2]; }

// The sender says that its counter jumps here.
bool SaysItJumps(std::span<const std::uint8_t> packet) {
  const bool has_field = (packet[3] & 0x20) != 0;
  return has_field && packet[4] > 0 && (packet[5] & 0x80) != 0;
}

}  // namespace

bool IsTransportTorn(std::span<const std::uint8_t> part) {
  if (part.size() < kShortest) return false;
  const std::size_t size = PacketSize(part);
  const int stream = StreamOf(part);
  std::optional<int> last;
  for (; part.size() >= kShortest; part = part.subspan(std::min(size, part.size()))) {
    if (part[0] != kSync) return true;
    const bool has_payload = (part[3] & 0x10) != 0;
    if (StreamOf(part) != stream || !has_payload) continue;
    const int counter = part[3] % kCounters;
    // A packet may be sent twice.
    const bool goes_on = !last || counter == *last || counter == (*last + 1) % kCounters;
    if (!goes_on && !SaysItJumps(part)) return true;
    last = counter;
  }
  return false;
}

}  // namespace movra::media
