#include "media/camera/simulated_v4l2_for_test.h"

#include <linux/videodev2.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

namespace movra::media {
namespace {

constexpr std::size_t kBufferLength = 1 << 20;

bool SameSize(const V4l2Mode& mode, std::uint32_t width, std::uint32_t height) {
  return static_cast<std::uint32_t>(mode.size.width) == width &&
         static_cast<std::uint32_t>(mode.size.height) == height;
}

template <std::size_t kLength>
void SetText(__u8 (&field)[kLength], const std::string& text) {
  std::memcpy(field, text.data(), std::min(text.size(), kLength));
}

}  // namespace

SimulatedDevice::SimulatedDevice()
    : capabilities(V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_STREAMING),
      timestamp_flags(V4L2_BUF_FLAG_TIMESTAMP_MONOTONIC) {}

void SimulatedDevice::WaitUntilWaiting() {
  std::unique_lock lock(mutex);
  told_waiting.wait(lock, [this] { return waiting; });
}

void SimulatedDevice::Push(Delivery delivery) {
  const std::lock_guard lock(mutex);
  deliveries.push_back(std::move(delivery));
  changed.notify_all();
}

SimulatedV4l2Io::SimulatedV4l2Io(std::shared_ptr<SimulatedDevice> device)
    : device_(std::move(device)) {}

int SimulatedV4l2Io::Open(const std::string& /*path*/) { return device_->open_error; }

int SimulatedV4l2Io::Control(unsigned long request, void* argument) {
  const std::lock_guard lock(device_->mutex);
  if (const auto error = device_->errors.find(request); error != device_->errors.end()) {
    return error->second;
  }
  switch (request) {
    case VIDIOC_S_FMT: {
      v4l2_pix_format& pix = static_cast<v4l2_format*>(argument)->fmt.pix;
      if (device_->forced_fourcc != 0) pix.pixelformat = device_->forced_fourcc;
      device_->running.fourcc = pix.pixelformat;
      device_->running.size = {static_cast<int>(pix.width), static_cast<int>(pix.height)};
      const std::uint32_t line = pix.pixelformat == V4L2_PIX_FMT_YUYV ? 2 * pix.width : pix.width;
      pix.bytesperline = line + static_cast<std::uint32_t>(device_->padding);
      return 0;
    }
    case VIDIOC_S_PARM: {
      const v4l2_fract& interval =
          static_cast<v4l2_streamparm*>(argument)->parm.capture.timeperframe;
      device_->running.interval_numerator = interval.numerator;
      device_->running.interval_denominator = interval.denominator;
      return 0;
    }
    case VIDIOC_REQBUFS: {
      auto& buffers = *static_cast<v4l2_requestbuffers*>(argument);
      buffers.count = std::min<std::uint32_t>(buffers.count, 3);  // Fewer than it is asked for.
      device_->queued.clear();
      return 0;
    }
    case VIDIOC_QUERYBUF: {
      auto& buffer = *static_cast<v4l2_buffer*>(argument);
      buffer.length = kBufferLength;
      buffer.m.offset = buffer.index * 4096;
      return 0;
    }
    case VIDIOC_QBUF:
      return device_->queued.insert(static_cast<v4l2_buffer*>(argument)->index).second ? 0 : EINVAL;
    case VIDIOC_DQBUF:
      return Dequeue(*static_cast<v4l2_buffer*>(argument));
    case VIDIOC_STREAMON:
      device_->streaming = true;
      return 0;
    case VIDIOC_STREAMOFF:
      device_->streaming = false;
      return 0;
    default:
      return Describe(request, argument);
  }
}

int SimulatedV4l2Io::Describe(unsigned long request, void* argument) {
  switch (request) {
    case VIDIOC_QUERYCAP: {
      auto& capability = *static_cast<v4l2_capability*>(argument);
      SetText(capability.card, device_->card);
      SetText(capability.driver, "simulated");
      capability.capabilities = V4L2_CAP_DEVICE_CAPS | V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_STREAMING;
      capability.device_caps = device_->capabilities;
      return 0;
    }
    case VIDIOC_ENUM_FMT:
      return EnumerateFormat(*static_cast<v4l2_fmtdesc*>(argument));
    case VIDIOC_ENUM_FRAMESIZES:
      return EnumerateSize(*static_cast<v4l2_frmsizeenum*>(argument));
    case VIDIOC_ENUM_FRAMEINTERVALS:
      return EnumerateInterval(*static_cast<v4l2_frmivalenum*>(argument));
    default:
      return ENOTTY;
  }
}

int SimulatedV4l2Io::EnumerateFormat(v4l2_fmtdesc& format) const {
  std::vector<std::uint32_t> formats;
  if (device_->largest_of_range.width > 0) formats.push_back(V4L2_PIX_FMT_YUYV);
  for (const V4l2Mode& mode : device_->modes) {
    if (std::find(formats.begin(), formats.end(), mode.fourcc) == formats.end()) {
      formats.push_back(mode.fourcc);
    }
  }
  if (format.index >= formats.size()) return EINVAL;
  format.pixelformat = formats[format.index];
  return 0;
}

int SimulatedV4l2Io::EnumerateSize(v4l2_frmsizeenum& entry) const {
  const video::Size& largest = device_->largest_of_range;
  if (largest.width > 0) {
    if (entry.index > 0) return EINVAL;
    entry.type = V4L2_FRMSIZE_TYPE_STEPWISE;
    entry.stepwise = {16, static_cast<std::uint32_t>(largest.width),  16,
                      16, static_cast<std::uint32_t>(largest.height), 16};
    return 0;
  }
  std::vector<V4l2Mode> found;
  for (const V4l2Mode& mode : device_->modes) {
    if (mode.fourcc == entry.pixel_format) found.push_back(mode);
  }
  if (entry.index >= found.size()) return EINVAL;
  entry.type = V4L2_FRMSIZE_TYPE_DISCRETE;
  entry.discrete.width = static_cast<std::uint32_t>(found[entry.index].size.width);
  entry.discrete.height = static_cast<std::uint32_t>(found[entry.index].size.height);
  return 0;
}

int SimulatedV4l2Io::EnumerateInterval(v4l2_frmivalenum& entry) const {
  for (const V4l2Mode& mode : device_->modes) {
    if (mode.fourcc != entry.pixel_format || !SameSize(mode, entry.width, entry.height)) continue;
    // A slow one first, then the mode's own.
    if (entry.index > 1 || mode.interval_numerator == 0) return EINVAL;
    entry.type = V4L2_FRMIVAL_TYPE_DISCRETE;
    entry.discrete = entry.index == 0
                         ? v4l2_fract{1, 1}
                         : v4l2_fract{mode.interval_numerator, mode.interval_denominator};
    return 0;
  }
  return EINVAL;
}

int SimulatedV4l2Io::Dequeue(v4l2_buffer& buffer) {
  if (device_->deliveries.empty()) return EAGAIN;
  const SimulatedDevice::Delivery delivery = std::move(device_->deliveries.front());
  device_->deliveries.pop_front();
  if (delivery.error != 0) return delivery.error;
  if (device_->queued.empty()) return EINVAL;
  buffer.index = *device_->queued.begin();
  device_->queued.erase(buffer.index);
  std::memcpy(device_->memory.at(buffer.index).data(), delivery.bytes.data(),
              delivery.bytes.size());
  buffer.bytesused = static_cast<std::uint32_t>(delivery.bytes.size());
  buffer.sequence = delivery.sequence;
  buffer.flags = delivery.flags | device_->timestamp_flags;
  buffer.timestamp.tv_sec = delivery.microseconds / 1'000'000;
  buffer.timestamp.tv_usec = delivery.microseconds % 1'000'000;
  return 0;
}

void* SimulatedV4l2Io::Map(std::size_t length, std::int64_t offset) {
  const std::lock_guard lock(device_->mutex);
  ++device_->mapped;
  std::vector<char>& memory = device_->memory.at(static_cast<std::size_t>(offset) / 4096);
  memory.resize(length);
  return memory.data();
}

void SimulatedV4l2Io::Unmap(void* /*memory*/, std::size_t /*length*/) {
  const std::lock_guard lock(device_->mutex);
  --device_->mapped;
}

bool SimulatedV4l2Io::WaitForFrame() {
  std::unique_lock lock(device_->mutex);
  device_->changed.wait(lock, [this] {
    const bool ready = device_->interrupted || !device_->deliveries.empty();
    device_->waiting = !ready;
    if (!ready) device_->told_waiting.notify_all();
    return ready;
  });
  return !device_->interrupted;
}

void SimulatedV4l2Io::Interrupt() {
  const std::lock_guard lock(device_->mutex);
  device_->interrupted = true;
  device_->changed.notify_all();
}

}  // namespace movra::media
