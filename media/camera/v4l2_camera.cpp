#include "media/camera/v4l2_camera.h"

#include <linux/videodev2.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

#include "libyuv/convert.h"
#include "libyuv/video_common.h"
#include "media/camera/v4l2_devices.h"
#include "media/camera/v4l2_mode.h"
#include "media/capture/camera_error.h"
#include "media/capture/camera_failure.h"

namespace movra::media {
namespace {

using std::chrono::nanoseconds;
using video::CameraInfo;
using video::PixelFormat;
using video::PixelFrame;
using video::PixelFrameInfo;
using video::StreamEnd;

constexpr std::uint32_t kBuffers = 4;
constexpr int kMostErrorsInARow = 30;

video::ColorDescription ColorOf(const v4l2_pix_format& format) {
  video::ColorDescription color;
  const bool is_jpeg = format.pixelformat == V4L2_PIX_FMT_MJPEG;
  color.matrix =
      format.ycbcr_enc == V4L2_YCBCR_ENC_709 || (format.ycbcr_enc == V4L2_YCBCR_ENC_DEFAULT &&
                                                 format.colorspace == V4L2_COLORSPACE_REC709)
          ? 1
          : 6;
  color.full_range = format.quantization == V4L2_QUANTIZATION_FULL_RANGE ||
                     (format.quantization == V4L2_QUANTIZATION_DEFAULT &&
                      (is_jpeg || format.colorspace == V4L2_COLORSPACE_JPEG));
  return color;
}

v4l2_buffer MakeBuffer(std::uint32_t index = 0) {
  v4l2_buffer buffer{};
  buffer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
  buffer.memory = V4L2_MEMORY_MMAP;
  buffer.index = index;
  return buffer;
}

}  // namespace

V4l2Camera::V4l2Camera(std::string path, std::unique_ptr<V4l2Io> io)
    : path_(std::move(path)), io_(std::move(io)) {}

V4l2Camera::~V4l2Camera() {
  if (streaming_) {
    int type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    static_cast<void>(io_->Control(VIDIOC_STREAMOFF, &type));  // The device may be gone.
  }
  for (const Buffer& buffer : buffers_) io_->Unmap(buffer.memory, buffer.length);
}

CameraInfo V4l2Camera::Describe() { return Prepare({}); }

CameraInfo V4l2Camera::Open(const CaptureRequest& request) {
  CameraInfo info = Prepare(request);
  if (info.error_code != 0) return info;
  if (const int error = SetFormat(); error != 0) return Failure(error);
  if (!IsReadable(fourcc_)) {
    return CameraFailure(CameraError::kUnsupported,
                         path_ + " has no pixel format that can be read");
  }
  if (const int error = MapBuffers(); error != 0) return Failure(error);
  if (const int error = StartStreaming(); error != 0) return Failure(error);
  info.natural_size = size_;
  return info;
}

CameraInfo V4l2Camera::Prepare(const CaptureRequest& request) {
  if (const int error = io_->Open(path_); error != 0) return Failure(error);
  if (!QueryDevice(*io_, path_)) {
    return CameraFailure(CameraError::kUnsupported, path_ + " is not a camera");
  }
  const std::optional<V4l2Mode> mode = ChooseMode(ListModes(*io_), request);
  if (!mode) {
    return CameraFailure(CameraError::kUnsupported,
                         path_ + " has no pixel format that can be read");
  }
  fourcc_ = mode->fourcc;
  size_ = mode->size;
  interval_numerator_ = mode->interval_numerator;
  interval_denominator_ = mode->interval_denominator;
  CameraInfo info;
  info.natural_size = size_;
  info.traits.keeps_time = true;
  if (interval_numerator_ > 0) {
    info.rate_numerator = static_cast<std::int32_t>(interval_denominator_);
    info.rate_denominator = static_cast<std::int32_t>(interval_numerator_);
  }
  return info;
}

int V4l2Camera::SetFormat() {
  v4l2_format format{};
  format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
  format.fmt.pix.width = static_cast<std::uint32_t>(size_.width);
  format.fmt.pix.height = static_cast<std::uint32_t>(size_.height);
  format.fmt.pix.pixelformat = fourcc_;
  format.fmt.pix.field = V4L2_FIELD_ANY;
  if (const int error = io_->Control(VIDIOC_S_FMT, &format); error != 0) return error;
  // The driver answers with what it really does.
  const v4l2_pix_format& pix = format.fmt.pix;
  fourcc_ = pix.pixelformat;
  size_ = {static_cast<std::int32_t>(pix.width), static_cast<std::int32_t>(pix.height)};
  bytes_per_line_ = static_cast<int>(pix.bytesperline);
  color_ = ColorOf(pix);

  if (interval_numerator_ > 0) {
    v4l2_streamparm parameters{};
    parameters.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    parameters.parm.capture.timeperframe = {interval_numerator_, interval_denominator_};
    // Not every driver lets itself be told a rate; its own is as good.
    static_cast<void>(io_->Control(VIDIOC_S_PARM, &parameters));
  }
  return 0;
}

int V4l2Camera::MapBuffers() {
  v4l2_requestbuffers request{};
  request.count = kBuffers;
  request.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
  request.memory = V4L2_MEMORY_MMAP;
  if (const int error = io_->Control(VIDIOC_REQBUFS, &request); error != 0) return error;
  if (request.count == 0) return ENOMEM;
  for (std::uint32_t i = 0; i < request.count; ++i) {
    v4l2_buffer buffer = MakeBuffer(i);
    if (const int error = io_->Control(VIDIOC_QUERYBUF, &buffer); error != 0) return error;
    void* const memory = io_->Map(buffer.length, buffer.m.offset);
    if (memory == nullptr) return ENOMEM;
    buffers_.push_back({memory, buffer.length});
  }
  return 0;
}

int V4l2Camera::StartStreaming() {
  for (std::uint32_t i = 0; i < buffers_.size(); ++i) {
    v4l2_buffer buffer = MakeBuffer(i);
    if (const int error = io_->Control(VIDIOC_QBUF, &buffer); error != 0) return error;
  }
  int type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
  const int error = io_->Control(VIDIOC_STREAMON, &type);
  streaming_ = error == 0;
  return error;
}

CameraInfo V4l2Camera::Failure(int error) const {
  switch (error) {
    case ENOENT:
    case ENXIO:
    case ENODEV:
      return CameraFailure(CameraError::kNoSuchCamera, "there is no camera " + path_);
    case EACCES:
    case EPERM:
      return CameraFailure(CameraError::kNoPermission, "no permission to use " + path_ +
                                                           " (is the user in the group 'video'?)");
    case EBUSY:
      return CameraFailure(CameraError::kBusy, path_ + " is in use by another program");
    default:
      return CameraFailure(
          CameraError::kCannotOpen,
          path_ + " cannot be started (" + std::generic_category().message(error) + ")");
  }
}

SourceItem V4l2Camera::Read(const CaptureRequest& /*request*/) {
  if (!io_->WaitForFrame()) return std::monostate();
  v4l2_buffer buffer = MakeBuffer();
  if (const int error = io_->Control(VIDIOC_DQBUF, &buffer); error != 0) {
    return OnDequeueError(error);
  }
  errors_in_a_row_ = 0;
  PixelFrame frame = CopyOut(buffer);
  PixelFrameInfo info = frame.info();
  Stamp(buffer, info);
  if (const int error = io_->Control(VIDIOC_QBUF, &buffer); error != 0) {
    return OnDequeueError(error);
  }
  if (!frame) {
    ++damaged_frames_;
    return std::monostate();
  }
  return SourceFrame{frame.WithInfo(info), info.size};
}

SourceItem V4l2Camera::OnDequeueError(int error) {
  if (error == EAGAIN) return std::monostate();
  // Drivers report a frame that was spoilt on the wire, and go on.
  if (error == EIO && ++errors_in_a_row_ < kMostErrorsInARow) {
    ++damaged_frames_;
    return std::monostate();
  }
  StreamEnd end;
  end.damaged_frames = damaged_frames_;
  const bool lost = error == ENODEV || error == ENXIO;
  end.error_code =
      static_cast<std::int32_t>(lost ? CameraError::kDeviceLost : CameraError::kReadFailed);
  end.reason = lost ? path_ + " is gone"
                    : path_ + " fails to deliver (" + std::generic_category().message(error) + ")";
  return end;
}

PixelFrame V4l2Camera::CopyOut(const v4l2_buffer& buffer) {
  if ((buffer.flags & V4L2_BUF_FLAG_ERROR) != 0 || buffer.index >= buffers_.size()) return {};
  const auto* const data = static_cast<const std::uint8_t*>(buffers_[buffer.index].memory);
  const std::size_t length = std::min<std::size_t>(buffer.bytesused, buffers_[buffer.index].length);
  PixelFrameInfo like;
  like.color = color_;
  WritableFrame frame = pool_.Allocate(PixelFormat::kI420, size_, like);
  if (!frame) return {};

  const int width = size_.width;
  const int height = size_.height;
  // Only MJPEG pictures vary in length; shorter ones of the others are incomplete.
  const int packed_line = fourcc_ == V4L2_PIX_FMT_YUYV ? 2 * width : width;
  const int line = std::max(bytes_per_line_, packed_line);
  const std::size_t luma_bytes = static_cast<std::size_t>(line) * static_cast<std::size_t>(height);
  const std::size_t whole = fourcc_ == V4L2_PIX_FMT_YUYV ? luma_bytes : luma_bytes / 2 * 3;
  if (fourcc_ != V4L2_PIX_FMT_MJPEG && length < whole) return {};
  std::uint8_t* const y = frame.plane(0);
  std::uint8_t* const u = frame.plane(1);
  std::uint8_t* const v = frame.plane(2);
  const int y_stride = frame.stride(0);
  const int u_stride = frame.stride(1);
  const int v_stride = frame.stride(2);
  int failed = -1;
  switch (fourcc_) {
    case V4L2_PIX_FMT_YUYV:
      failed = libyuv::YUY2ToI420(data, line, y, y_stride, u, u_stride, v, v_stride, width, height);
      break;
    case V4L2_PIX_FMT_NV12:
      failed = libyuv::NV12ToI420(data, line, data + luma_bytes, line, y, y_stride, u, u_stride, v,
                                  v_stride, width, height);
      break;
    case V4L2_PIX_FMT_YUV420:
      failed = libyuv::I420Copy(data, line, data + luma_bytes, line / 2,
                                data + luma_bytes + luma_bytes / 4, line / 2, y, y_stride, u,
                                u_stride, v, v_stride, width, height);
      break;
    case V4L2_PIX_FMT_MJPEG:
      failed =
          libyuv::ConvertToI420(data, length, y, y_stride, u, u_stride, v, v_stride, 0, 0, width,
                                height, width, height, libyuv::kRotate0, libyuv::FOURCC_MJPG);
      break;
    default:
      break;
  }
  return failed == 0 ? std::move(frame).Finish() : PixelFrame();
}

void V4l2Camera::Stamp(const v4l2_buffer& buffer, PixelFrameInfo& info) {
  const bool monotonic =
      (buffer.flags & V4L2_BUF_FLAG_TIMESTAMP_MASK) == V4L2_BUF_FLAG_TIMESTAMP_MONOTONIC;
  info.capture_time = std::chrono::steady_clock::now().time_since_epoch();
  if (monotonic) {
    info.capture_time = std::chrono::seconds(buffer.timestamp.tv_sec) +
                        std::chrono::microseconds(buffer.timestamp.tv_usec);
  }
  if (!first_time_) first_time_ = info.capture_time;
  info.timestamp = info.capture_time - *first_time_;
  // A difference of more than one tells of frames that the driver had to leave out. Some drivers
  // do not count at all.
  if (last_driver_sequence_) {
    const std::uint32_t step = buffer.sequence - *last_driver_sequence_;
    if (step > 1) next_sequence_ += step - 1;
  }
  last_driver_sequence_ = buffer.sequence;
  info.sequence = next_sequence_++;
  info.damaged_frames = damaged_frames_;
}

}  // namespace movra::media
