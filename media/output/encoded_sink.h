#ifndef MOVRA_MEDIA_OUTPUT_ENCODED_SINK_H_
#define MOVRA_MEDIA_OUTPUT_ENCODED_SINK_H_

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "media/output/container_format.h"
#include "media/output/time_origin.h"
#include "media/output/write_error.h"
#include "video/pixel_frame.h"
#include "video/video_frame_track.h"

namespace movra::media {

// What a sink holds or has sent. Of one that broke off, what can still be played.
struct WrittenFigures {
  std::uint64_t frames = 0;
  std::uint64_t key_frames = 0;
  std::uint64_t bytes = 0;                   // Of the pictures, without the container.
  std::uint64_t file_bytes = 0;              // Of all that was written: of a file its size.
  std::chrono::nanoseconds duration{0};      // From the first frame to the end of the last one.
  std::chrono::nanoseconds longest_wait{0};  // From one picture to the next.

  friend bool operator==(const WrittenFigures&, const WrittenFigures&) = default;
};

// What a sink is made of; what its path means is its kind's to say.
struct SinkRequest {
  std::string
      path{};  // Of a file; "-" for standard output. Otherwise what stands behind the scheme.
  ContainerFormat format = ContainerFormat::kMp4;
  bool overwrite = false;  // False: an existing file is refused.
  // Shared by the sinks of one run; null: the sink's own first frame is its time 0.
  std::shared_ptr<TimeOrigin> origin{};
  // The end of a source does not finish it: another source may follow. Close does.
  bool stays_open = false;
  // Writing thread, at most once: the sink broke off; frames that follow are ignored.
  std::function<void(const WriteError&)> on_error{};
  // Writing thread: a source has ended by itself (WriteEnd), and the sink is finished, whole or
  // broken off. At most once; where it stays open instead once for each source that ends. Not for
  // a source or an encoder that is stopped, nor for a Close: whoever does that knows. A sink behind
  // a fan-out that broke off is not told of the end any more.
  std::function<void(const video::StreamEnd&)> on_end{};
};

// Where an encoded stream goes: a file, a pipe, a connection. Write and WriteEnd come from one
// thread at a time, the encoder's or one of the sink's own in front of it (EncodedFanOut), and may
// block. WriteEnd finishes it, unless it stays open, and comes only when a source ends by itself:
// whoever stops the source or the encoder closes the sink. What comes behind that or behind a Close
// is ignored: of a second source nothing is written, not a part. A stream without a frame leaves
// nothing behind. Made by its scheme, see sink_kinds.h; it may go unclosed, which closes it.
class IEncodedSink : public video::IVideoFrameTrackWriter {
 public:
  // From now on all writes together wait no longer than this for whoever takes what is written;
  // then the sink breaks off. An earlier limit that ends sooner stands. Any thread.
  virtual void LimitWaits(std::chrono::milliseconds patience) = 0;

  // Finishes what no end of a source has finished. Nothing more is written, and no callback begins
  // any more; one that has may end. A Write that waits for somebody breaks off after an instant. If
  // the end has not come, the last picture stands until `end`, counted from the origin, instead of
  // as long as its encoder expected. Any thread; again is harmless.
  virtual void Close(std::optional<std::chrono::nanoseconds> end) = 0;

  // Any thread, behind a Close too.
  [[nodiscard]] virtual WrittenFigures written() const = 0;
  // Whether a write waits at this moment for whoever takes what is written.
  [[nodiscard]] virtual bool waits_for_reader() const = 0;
  [[nodiscard]] virtual bool failed() const = 0;
  // For people, in the middle of a sentence: "'out/big.mp4'", "standard output".
  [[nodiscard]] virtual std::string name() const = 0;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_OUTPUT_ENCODED_SINK_H_
