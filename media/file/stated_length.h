#ifndef MOVRA_MEDIA_FILE_STATED_LENGTH_H_
#define MOVRA_MEDIA_FILE_STATED_LENGTH_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace movra::media {

constexpr std::size_t kStatedLengthHead = 128;

// How many bytes a file says at its beginning that it has: a RIFF file (AVI) by the length of its
// first chunk, a Matroska file (IETF RFC 9559) by that of its segment, an ASF file (WMV) by its
// properties, if these stand first. A file that is shorter was cut. Nothing for others, and for one
// that was written without knowing. `head` are the file's
// first kStatedLengthHead bytes, or all of a shorter one.
[[nodiscard]] std::optional<std::uint64_t> StatedLength(std::span<const std::uint8_t> head);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_FILE_STATED_LENGTH_H_
