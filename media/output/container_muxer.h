#ifndef MOVRA_MEDIA_OUTPUT_CONTAINER_MUXER_H_
#define MOVRA_MEDIA_OUTPUT_CONTAINER_MUXER_H_

#include <chrono>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "media/output/container_format.h"
#include "media/output/output_file.h"
#include "video/pixel_frame.h"
#include "video/size.h"

namespace movra::media {

// What a container says of its one H.264 stream before the first picture.
struct MuxHeader {
  video::Size size;
  video::ColorDescription color;
  std::vector<std::uint8_t> parameter_sets;  // Annex B.
};

struct MuxPacket {
  std::span<const std::uint8_t> data;  // Annex B; read during the call only.
  std::chrono::nanoseconds time{0};    // Not below 0, and not below the packet's before.
  std::chrono::nanoseconds duration{0};
  bool key_frame = false;
};

// Puts one stream into a container: Start, Write any number of times, Finish. Each answers with
// what went wrong, for people, or with an empty text; after an error nothing more is written.
// Errors of the file itself are the file's to tell. Calls the file whole whenever it is. One thread
// at a time.
class IContainerMuxer {
 public:
  virtual ~IContainerMuxer() = default;

  [[nodiscard]] virtual std::string Start(const MuxHeader& header) = 0;
  [[nodiscard]] virtual std::string Write(const MuxPacket& packet) = 0;
  // Writes what is left to write; the last picture stands this long. The file is not closed.
  [[nodiscard]] virtual std::string Finish(std::chrono::nanoseconds last_duration) = 0;

  // How many of the pictures that were written the file holds when it is cut back to where it was
  // last whole; containers collect some of them before they write.
  [[nodiscard]] virtual std::uint64_t pictures_in_file() const = 0;
};

// Writes into the file, which outlives the muxer. Null, and `error`, if this build does not have
// the format.
[[nodiscard]] std::unique_ptr<IContainerMuxer> MakeContainerMuxer(ContainerFormat format,
                                                                  OutputFile& file,
                                                                  std::string& error);

// The formats that need FFmpeg's libraries; null, and `error`, in a build without them.
[[nodiscard]] std::unique_ptr<IContainerMuxer> MakeLibavMuxer(ContainerFormat format,
                                                              OutputFile& file, std::string& error);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_OUTPUT_CONTAINER_MUXER_H_
