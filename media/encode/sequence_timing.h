#ifndef MOVRA_MEDIA_ENCODE_SEQUENCE_TIMING_H_
#define MOVRA_MEDIA_ENCODE_SEQUENCE_TIMING_H_

#include <cstdint>
#include <span>
#include <vector>

#include "media/encode/frame_rate.h"

// What an H.264 stream says of its own rate. A container tells when each picture is shown, and a
// rate in the stream that is not the real one only confuses its readers; a stream without container
// is played at that rate and nothing else.

namespace movra::media {

// A copy of the sequence parameter set (a NAL unit of ITU-T H.264, 7.3.2.1, without start code)
// whose timing (Annex E) says the rate, as one that is not fixed, or nothing if there is none. Two
// copies with a rate differ in their timing's bytes alone and, but for numbers that fill 31 bits,
// are equally long. A unit of any other kind, without VUI or broken, comes back as it is. Pure
// function of any bytes.
[[nodiscard]] std::vector<std::uint8_t> WithFrameRate(std::span<const std::uint8_t> unit,
                                                      const FrameRate& rate);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_ENCODE_SEQUENCE_TIMING_H_
