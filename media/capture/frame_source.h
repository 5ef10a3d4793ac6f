#ifndef MOVRA_MEDIA_CAPTURE_FRAME_SOURCE_H_
#define MOVRA_MEDIA_CAPTURE_FRAME_SOURCE_H_

#include <functional>
#include <memory>
#include <string>
#include <variant>

#include "media/capture/capture_request.h"
#include "video/camera_service.h"
#include "video/pixel_frame.h"
#include "video/size.h"

namespace movra::media {

struct SourceFrame {
  // May still be rotated, have pixels that are not square, or be larger.
  video::PixelFrame frame{};
  video::Size upright_size{};  // The size it has once it is upright with square pixels.
  bool mirrored = false;       // Left and right are still to be swapped, after the rotation.
};

// A frame, the end of the stream, or nothing this time.
using SourceItem = std::variant<std::monostate, SourceFrame, video::StreamEnd>;

// How the frames of a source are handed on.
struct SourcePolicy {
  video::FrameDelivery delivery = video::FrameDelivery::kLive;
  // Whether each frame is held back until its time stamp comes round on the clock. A device paces
  // itself.
  bool paced = false;
};

// One opened camera: where the frames of one capture come from.
//
// Life: Describe, or Open followed by Read until the end, or both in this order; on one thread at a
// time, which is never the main queue's and may be another one behind Describe. Interrupt alone
// comes from any thread at any time.
//
// What an operation throws is told in the log; a source that throws cannot be opened or read.
// Nothing but Interrupt has to keep from it.
//
// A source delivers what it has. Dropping to the asked rate, scaling to the asked size, turning,
// pacing and waiting for room are its caller's; the request tells a source that can choose (a
// device's mode, a picture drawn to measure) what is worth delivering.
//
// Each frame carries its time stamp, colour and rotation, and a sequence number that counts what
// the source had to deliver: a frame that was lost or damaged leaves a gap. From frame to frame
// both grow; time stamps are never negative. Frames may outlive their source.
class FrameSource {
 public:
  virtual ~FrameSource() = default;

  // What the camera is, without starting it; Open with an empty request answers the same.
  [[nodiscard]] virtual video::CameraInfo Describe() = 0;

  // Makes the camera ready to be read; its answer says what it is or why it cannot be (then nothing
  // else may be called). May take as long as the device needs.
  [[nodiscard]] virtual video::CameraInfo Open(const CaptureRequest& request) = 0;

  // Holds from Open on. Live if and only if the source's traits say that it keeps time, and only
  // then paced.
  [[nodiscard]] virtual SourcePolicy Policy() const = 0;

  // The next item; waits for a device's next frame. Not called again after an end, which comes by
  // itself where the traits say has_end.
  [[nodiscard]] virtual SourceItem Read(const CaptureRequest& request) = 0;

  // Makes an Open or a Read that waits return soon, and any later one at once; what they return is
  // not looked at. Waits for nobody and calls nobody. Any thread, any number of times.
  virtual void Interrupt() = 0;
};

// Makes the source that an id names, or null when no kind of camera has such ids. On any thread.
using FrameSourceFactory =
    std::function<std::unique_ptr<FrameSource>(const std::string& camera_id)>;

}  // namespace movra::media

#endif  // MOVRA_MEDIA_CAPTURE_FRAME_SOURCE_H_
