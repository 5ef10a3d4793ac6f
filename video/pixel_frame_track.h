#ifndef MOVRA_VIDEO_PIXEL_FRAME_TRACK_H_
#define MOVRA_VIDEO_PIXEL_FRAME_TRACK_H_

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <variant>

#include "video/pixel_frame.h"

namespace movra::video {

enum class TrackWriteResult : std::int32_t {
  kAccepted = 0,
  kReplacedOlder = 1,  // Accepted; a waiting live frame was dropped for it.
  kFull = 2,           // A lossless frame was not taken: try again after the room callback.
  kClosed = 3,         // Nobody can read it any more.
  kInvalid = 4,        // Not taken: whoever reads the track could not use it, now or later.
};

// The end that frames go into. The application implements it to receive frames (custom rendering,
// shunt tracks): Write alone is enough, the defaults always have room. Called on one thread at a
// time; no operation ever waits.
class IPixelFrameTrackWriter {
 public:
  virtual ~IPixelFrameTrackWriter() = default;

  virtual TrackWriteResult Write(PixelFrame frame) = 0;

  // Places the end mark behind the frames written so far. It takes no room. Frames written after
  // it belong to a new stream.
  virtual void WriteEnd(const StreamEnd& /*end*/) {}

  // Whether a lossless frame would be accepted now.
  [[nodiscard]] virtual bool HasRoom() const { return true; }

  // Installs what is called (on the thread that made the room, with no lock held) each time a full
  // track gets room, also when it is reset or closed. An empty function removes the callback; when
  // that returns, the callback is not running and will not run, unless it is the caller itself.
  virtual void SetRoomCallback(std::function<void()> /*callback*/) {}
};

// What a reader takes off a track: a frame, the end mark, or nothing yet.
using TrackItem = std::variant<std::monostate, PixelFrame, StreamEnd>;

// The end that frames come out of. One reader at a time; no operation ever waits.
class IPixelFrameTrackReader {
 public:
  virtual ~IPixelFrameTrackReader() = default;

  // The number of frames written into the track since it was made.
  [[nodiscard]] virtual std::uint32_t GetCaptureStat() = 0;

  // The number of waiting frames that newer ones displaced since the track was made.
  [[nodiscard]] virtual std::uint32_t GetDroppedFrames() { return 0; }

  [[nodiscard]] virtual TrackItem Read() = 0;

  // Installs what is called (on the writing thread, with no lock held) after a frame or the end
  // mark was written; also at once if something waits already. Removal as for SetRoomCallback.
  virtual void SetReadableCallback(std::function<void()> callback) = 0;
};

// A named bounded queue of frames with stable ends: each call of GetReader or GetWriter returns the
// same object, which the track keeps. Made and wired on the main queue; the ends work on any
// thread.
class IPixelFrameTrack {
 public:
  // `capacity` counts the frames that wait, besides those being written or read; at least 1.
  [[nodiscard]] static std::shared_ptr<IPixelFrameTrack> Create(const std::string& name,
                                                                int capacity);

  [[nodiscard]] virtual std::shared_ptr<IPixelFrameTrackReader> GetReader() = 0;
  [[nodiscard]] virtual std::shared_ptr<IPixelFrameTrackWriter> GetWriter() = 0;

  // Drops the waiting frames and end mark and wakes whoever waits for room. The track stays usable.
  virtual void Reset() = 0;

  // Closes the ends: writes answer kClosed, reads nothing.
  virtual ~IPixelFrameTrack() = default;
};

}  // namespace movra::video

#endif  // MOVRA_VIDEO_PIXEL_FRAME_TRACK_H_
