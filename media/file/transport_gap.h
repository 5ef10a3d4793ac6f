#ifndef MOVRA_MEDIA_FILE_TRANSPORT_GAP_H_
#define MOVRA_MEDIA_FILE_TRANSPORT_GAP_H_

#include <cstdint>
#include <span>

namespace movra::media {

// Whether a part of an MPEG transport stream (ISO/IEC 13818-1, 2.4.3) is torn: bytes stand where a
// packet should begin, or packets of the stream that the first one belongs to are missing. Only
// such a tear tells pictures that were lost from pictures that were never there: the time between
// two of them may be as long as it likes.
//
// The part begins with a packet; those may have 188, 192 or 204 bytes. What is behind the last
// whole one is not looked at.
[[nodiscard]] bool IsTransportTorn(std::span<const std::uint8_t> part);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_FILE_TRANSPORT_GAP_H_
