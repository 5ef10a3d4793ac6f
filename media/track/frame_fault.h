// Finds the frames that nobody could use where they come in, and says what is wrong with them.

#ifndef MOVRA_MEDIA_TRACK_FRAME_FAULT_H_
#define MOVRA_MEDIA_TRACK_FRAME_FAULT_H_

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "video/pixel_frame.h"
#include "video/pixel_frame_track.h"
#include "video/video_context.h"

namespace movra::media {

struct FrameFault {
  enum Kind : std::uint32_t {
    kNone,
    kNoOwner,
    kNoFormat,
    kNoSize,
    kTooLarge,
    kNoPlane,
    kStride,
    kTimeStandsStill,
  };

  Kind kind = kNone;
  std::size_t plane = 0;  // Of kNoPlane and kStride.

  explicit operator bool() const { return kind != kNone; }
};

// What makes the picture unreadable. Planes are looked at in memory only: what lies in a texture is
// the affair of whoever reads textures. Looks at the description, not at samples.
[[nodiscard]] FrameFault FindFault(const video::PixelFrame& frame);

// "custom frame: NV12 640x360, plane 1 is null". A custom frame is one of no source of ours.
[[nodiscard]] std::string FaultText(const FrameFault& fault, const video::PixelFrameInfo& info);

// The account of the faults of one input: each kind is told in one warning line. Any thread; hold
// no lock.
class FrameFaultLog {
 public:
  explicit FrameFaultLog(video::VideoContext context);

  void Tell(const FrameFault& fault, const video::PixelFrameInfo& info);

 private:
  const video::VideoContext context_;
  std::atomic<std::uint32_t> told_ = 0;  // Bits of kinds; set on any thread.
};

// What the reader's end of our own tracks is besides: the track refuses frames for it. Any thread.
class CheckingTrackEnd {
 public:
  virtual ~CheckingTrackEnd() = default;

  // From now on a write of a frame with a fault answers kInvalid, and the fault is told there. So
  // does one of a lossless custom frame that has the time stamp of the one before; a live one is
  // told and taken. Custom time stamps begin anew with this call. Null: everything is taken.
  virtual void CheckFrames(std::shared_ptr<FrameFaultLog> faults) = 0;
};

// Does nothing for an end that somebody else made.
void CheckFrames(video::IPixelFrameTrackReader& reader, std::shared_ptr<FrameFaultLog> faults);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_TRACK_FRAME_FAULT_H_
