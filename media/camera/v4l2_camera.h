#ifndef MOVRA_MEDIA_CAMERA_V4L2_CAMERA_H_
#define MOVRA_MEDIA_CAMERA_V4L2_CAMERA_H_

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "media/camera/v4l2_io.h"
#include "media/capture/frame_source.h"
#include "media/frame/frame_pool.h"

struct v4l2_buffer;

namespace movra::media {

// A Video4Linux capture device, read through memory-mapped buffers. Frames are copied out of the
// driver's buffers, which are few, and become I420 on the way.
//
// It runs in the mode that suits the size and rate it was opened for (media/camera/v4l2_mode.h); a
// larger size asked for later takes effect with the next start.
//
// This has been run against a simulated device only, never on a real one: no camera was at hand.
class V4l2Camera final : public FrameSource {
 public:
  V4l2Camera(std::string path, std::unique_ptr<V4l2Io> io);
  ~V4l2Camera() override;

  // FrameSource
  [[nodiscard]] video::CameraInfo Describe() override;
  [[nodiscard]] video::CameraInfo Open(const CaptureRequest& request) override;
  [[nodiscard]] SourcePolicy Policy() const override { return {}; }  // Live; it paces itself.
  [[nodiscard]] SourceItem Read(const CaptureRequest& request) override;
  void Interrupt() override { io_->Interrupt(); }

 private:
  struct Buffer {
    void* memory;
    std::size_t length;
  };

  // Opens the device and chooses the mode.
  [[nodiscard]] video::CameraInfo Prepare(const CaptureRequest& request);
  // These answer 0 or an errno.
  int SetFormat();
  int MapBuffers();
  int StartStreaming();
  [[nodiscard]] video::CameraInfo Failure(int error) const;

  [[nodiscard]] SourceItem OnDequeueError(int error);
  [[nodiscard]] video::PixelFrame CopyOut(const v4l2_buffer& buffer);
  void Stamp(const v4l2_buffer& buffer, video::PixelFrameInfo& info);

  const std::string path_;
  const std::unique_ptr<V4l2Io> io_;

  // As negotiated with the driver.
  std::uint32_t fourcc_ = 0;
  video::Size size_;
  int bytes_per_line_ = 0;
  video::ColorDescription color_;
  std::uint32_t interval_numerator_ = 0;
  std::uint32_t interval_denominator_ = 1;

  std::vector<Buffer> buffers_;
  bool streaming_ = false;
  FramePool pool_;
  std::uint64_t damaged_frames_ = 0;
  int errors_in_a_row_ = 0;
  std::uint64_t next_sequence_ = 0;
  std::optional<std::uint32_t> last_driver_sequence_;
  std::optional<std::chrono::nanoseconds> first_time_;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_CAMERA_V4L2_CAMERA_H_
