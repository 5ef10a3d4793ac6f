#ifndef MOVRA_MEDIA_OUTPUT_SINK_FIGURES_H_
#define MOVRA_MEDIA_OUTPUT_SINK_FIGURES_H_

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "media/output/encoded_sink.h"

namespace movra::media {

// Why a frame never got to its sink.
enum class SinkDrop : std::int32_t {
  kQueueFull = 0,   // No room, or displaced by a newer key frame.
  kNoKeyFrame = 1,  // It builds on a frame that was left out.
  kBrokenOff = 2,   // The sink had failed, had thrown or was too slow.
  kClosed = 3,      // It still waited, or came, when all was over.
};
inline constexpr std::size_t kSinkDrops = 4;

// "queue_full"
[[nodiscard]] constexpr const char* SinkDropName(SinkDrop drop) {
  constexpr std::array kNames{"queue_full", "no_key_frame", "broken_off", "closed"};
  return kNames[static_cast<std::size_t>(drop)];
}

// What became of the frames that were meant for one sink:
//
//   handed = passed + dropped + waiting, and passed = frames written + not written
struct SinkFigures {
  WrittenFigures written{};
  std::uint64_t handed = 0;
  std::uint64_t passed = 0;  // Went into the sink.
  std::array<std::uint64_t, kSinkDrops> dropped{};
  std::uint64_t waiting = 0;  // Nothing once it is closed.

  [[nodiscard]] std::uint64_t dropped_for(SinkDrop drop) const {
    return dropped[static_cast<std::size_t>(drop)];
  }
  // Went in and did not last: what came before the first key frame, what an error cut off.
  [[nodiscard]] std::uint64_t not_written() const {
    return passed - std::min(passed, written.frames);
  }
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_OUTPUT_SINK_FIGURES_H_
