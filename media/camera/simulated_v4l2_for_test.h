#ifndef MOVRA_MEDIA_CAMERA_SIMULATED_V4L2_FOR_TEST_H_
#define MOVRA_MEDIA_CAMERA_SIMULATED_V4L2_FOR_TEST_H_

#include <array>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "media/camera/v4l2_io.h"
#include "media/camera/v4l2_mode.h"

struct v4l2_buffer;
struct v4l2_fmtdesc;
struct v4l2_frmivalenum;
struct v4l2_frmsizeenum;

namespace movra::media {

// What a simulated device is and does; shared with the test, because the camera owns the device.
// Set up before the camera uses it; PushFrame and PushError may come at any time.
struct SimulatedDevice {
  std::string card = "Simulated camera";
  std::uint32_t capabilities;  // Those of a camera at first.
  std::vector<V4l2Mode> modes;
  // A range of sizes in steps of 16, up to this one, instead of `modes`: of YUYV.
  video::Size largest_of_range{0, 0};
  int open_error = 0;
  std::map<unsigned long, int> errors;  // What requests fail with.
  int padding = 0;                      // Bytes behind each line.
  std::uint32_t forced_fourcc = 0;      // What the driver insists on; 0: it does as it is told.
  std::uint32_t timestamp_flags;        // Of the monotonic clock at first.

  SimulatedDevice();

  struct Delivery {
    int error = 0;
    std::string bytes;
    std::uint32_t sequence = 0;
    std::uint32_t flags = 0;
    std::int64_t microseconds = 0;
  };
  void Push(Delivery delivery);
  // Until its reader waits for a frame that has not come.
  void WaitUntilWaiting();

  std::mutex mutex;
  std::condition_variable changed;
  std::condition_variable told_waiting;
  // Guarded by mutex.
  std::deque<Delivery> deliveries;
  bool interrupted = false;
  bool waiting = false;
  // What has happened to the device.
  V4l2Mode running;
  bool streaming = false;
  std::array<std::vector<char>, 4> memory;
  std::set<std::uint32_t> queued;
  int mapped = 0;
};

class SimulatedV4l2Io final : public V4l2Io {
 public:
  explicit SimulatedV4l2Io(std::shared_ptr<SimulatedDevice> device);

  // V4l2Io
  [[nodiscard]] int Open(const std::string& path) override;
  [[nodiscard]] int Control(unsigned long request, void* argument) override;
  [[nodiscard]] void* Map(std::size_t length, std::int64_t offset) override;
  void Unmap(void* memory, std::size_t length) override;
  [[nodiscard]] bool WaitForFrame() override;
  void Interrupt() override;

 private:
  int Describe(unsigned long request, void* argument);
  int EnumerateFormat(v4l2_fmtdesc& format) const;
  int EnumerateSize(v4l2_frmsizeenum& entry) const;
  int EnumerateInterval(v4l2_frmivalenum& entry) const;
  int Dequeue(v4l2_buffer& buffer);

  const std::shared_ptr<SimulatedDevice> device_;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_CAMERA_SIMULATED_V4L2_FOR_TEST_H_
