#ifndef MOVRA_MEDIA_OUTPUT_CONTAINER_MUXER_H_
#define MOVRA_MEDIA_OUTPUT_CONTAINER_MUXER_H_

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "media/output/byte_sink.h"
#include "media/output/container_format.h"
#include "video/pixel_frame.h"
#include "video/size.h"
#include "video/video_types.h"

namespace movra::media {

// What a container says of one of its tracks before the first packet. Today every track is video.
struct MuxTrack {
  video::Size size{};
  video::ColorDescription color{};
  std::vector<std::uint8_t> parameter_sets{};  // Annex B; empty for a codec that has none.
  video::VideoCodec codec = video::VideoCodec::kH264;
};

struct MuxPacket {
  std::span<const std::uint8_t> data{};  // Annex B; read during the call only.
  std::chrono::nanoseconds time{0};      // Not below 0, and not below the one before of its track.
  std::chrono::nanoseconds duration{0};
  bool key_frame = false;
  std::size_t track = 0;  // Its place in the list that Start got.
};

// Puts tracks into a container: Start, Write any number of times, Finish. Each answers with what
// went wrong, for people, or with an empty text; after an error nothing more is written. Errors of
// the sink itself are the sink's to tell. Calls the sink whole whenever it is. One thread at a
// time.
//
// Packets of several tracks come about in the order of their times; who has them from several
// threads puts them into that order.
class IContainerMuxer {
 public:
  virtual ~IContainerMuxer() = default;

  // At least one track; no two calls. What has room for a single one refuses more.
  [[nodiscard]] virtual std::string Start(std::span<const MuxTrack> tracks) = 0;
  [[nodiscard]] virtual std::string Write(const MuxPacket& packet) = 0;
  // Writes what is left to write. The last packet of each track lasts as long as the list says, in
  // the order of the tracks. The sink is not closed.
  [[nodiscard]] virtual std::string Finish(
      std::span<const std::chrono::nanoseconds> last_durations) = 0;

  // How many of the packets that were written, of all tracks, the sink holds when it is cut back to
  // where it was last whole; containers collect some of them before they write.
  [[nodiscard]] virtual std::uint64_t packets_in_sink() const = 0;
};

// Writes into the sink, which outlives the muxer. Null, and `error`, if this build does not have
// the format.
[[nodiscard]] std::unique_ptr<IContainerMuxer> MakeContainerMuxer(ContainerFormat format,
                                                                  IByteSink& sink,
                                                                  std::string& error);

// The formats that need FFmpeg's libraries; null, and `error`, in a build without them.
[[nodiscard]] std::unique_ptr<IContainerMuxer> MakeLibavMuxer(ContainerFormat format,
                                                              IByteSink& sink, std::string& error);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_OUTPUT_CONTAINER_MUXER_H_
