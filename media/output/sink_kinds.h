#ifndef MOVRA_MEDIA_OUTPUT_SINK_KINDS_H_
#define MOVRA_MEDIA_OUTPUT_SINK_KINDS_H_

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "media/output/encoded_sink.h"

namespace movra::media {

// What becomes of a frame for which a sink among several has no room; see EncodedFanOut.
enum class SinkPolicy : std::int32_t {
  kLossless = 0,        // None is left out: files and pipes.
  kDropToKeyFrame = 1,  // All are left out until the next key frame: what is watched live.
};

// One kind of place for a stream. The table of them is what help, failure texts, the reader of what
// was typed and the maker share; a new kind is one entry.
struct SinkKind {
  std::string_view scheme{};  // In small letters.
  std::string_view help{};    // "file:PATH or PATH"
  SinkPolicy policy = SinkPolicy::kLossless;
  // Null, and for people what is wrong, if it cannot be written there.
  std::shared_ptr<IEncodedSink> (*make)(const SinkRequest& request, std::string* error) = nullptr;
};

inline constexpr std::string_view kFileScheme = "file";

[[nodiscard]] std::span<const SinkKind> SinkKinds();

// The kind of that scheme; null if there is none.
[[nodiscard]] const SinkKind* FindSinkKind(std::string_view scheme,
                                           std::span<const SinkKind> kinds = SinkKinds());

// A place as it was typed.
struct SinkAddress {
  std::string scheme{};   // Of a kind that there is.
  std::string address{};  // What stands behind the scheme's colon; of a file the path.

  friend bool operator==(const SinkAddress&, const SinkAddress&) = default;
};

// Reads the place, and decides before anything is taken for a path:
//
//   file:PATH      a scheme that there is and a colon: what follows is that kind's
//   rtmp://host/x  another word of RFC 3986's, a colon and two slashes: refused, with what there is
//   PATH           everything else: a:b.mp4 and C:x.mp4 are files
//
// A file whose name reads like a place of another kind is ./NAME or file:NAME. Schemes may be typed
// in letters of either case. Nothing, and for people what is wrong, if it is refused.
[[nodiscard]] std::optional<SinkAddress> ReadSinkAddress(
    std::string_view text, std::string* error, std::span<const SinkKind> kinds = SinkKinds());

}  // namespace movra::media

#endif  // MOVRA_MEDIA_OUTPUT_SINK_KINDS_H_
