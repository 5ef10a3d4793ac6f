#ifndef MOVRA_MEDIA_OUTPUT_BYTE_SINK_H_
#define MOVRA_MEDIA_OUTPUT_BYTE_SINK_H_

#include <cstddef>
#include <cstdint>
#include <optional>

#include "media/output/write_error.h"

namespace movra::media {

// Where a muxer's bytes go: a file, a pipe, a connection, memory. One thread at a time.
class IByteSink {
 public:
  virtual ~IByteSink() = default;

  // Takes all of it; false on an error, after which nothing more is taken.
  [[nodiscard]] virtual bool Write(const std::uint8_t* data, std::size_t size) = 0;
  // Moves to a byte position from the start; only where IsSeekable, which never changes.
  [[nodiscard]] virtual bool Seek(std::int64_t position) = 0;
  [[nodiscard]] virtual bool IsSeekable() const = 0;
  // What has been written so far can be read by itself; a sink that breaks off may be cut back to
  // here.
  virtual void MarkWhole() = 0;

  [[nodiscard]] virtual const std::optional<WriteError>& error() const = 0;
  // Bytes that were written again count once.
  [[nodiscard]] virtual std::uint64_t bytes_written() const = 0;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_OUTPUT_BYTE_SINK_H_
