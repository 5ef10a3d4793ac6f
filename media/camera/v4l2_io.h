#ifndef MOVRA_MEDIA_CAMERA_V4L2_IO_H_
#define MOVRA_MEDIA_CAMERA_V4L2_IO_H_

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace movra::media {

// The system calls that a Video4Linux device is driven with, and nothing above them, so that a test
// can be the device. Errors are errno values, 0 is success.
//
// One thread at a time, Interrupt apart. Closed with the object.
class V4l2Io {
 public:
  virtual ~V4l2Io() = default;

  // Before anything else. A device that is open already is closed first.
  [[nodiscard]] virtual int Open(const std::string& path) = 0;
  // ioctl, repeated when a signal interrupts it.
  [[nodiscard]] virtual int Control(unsigned long request, void* argument) = 0;
  // Null if it fails.
  [[nodiscard]] virtual void* Map(std::size_t length, std::int64_t offset) = 0;
  virtual void Unmap(void* memory, std::size_t length) = 0;
  // Waits until the device has something to tell, a frame or an error; false once interrupted.
  [[nodiscard]] virtual bool WaitForFrame() = 0;
  // Ends a wait and all later ones. Any thread.
  virtual void Interrupt() = 0;
};

using V4l2IoFactory = std::function<std::unique_ptr<V4l2Io>()>;

[[nodiscard]] std::unique_ptr<V4l2Io> MakeV4l2Io();

}  // namespace movra::media

#endif  // MOVRA_MEDIA_CAMERA_V4L2_IO_H_
