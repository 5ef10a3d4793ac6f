#ifndef MOVRA_MEDIA_CAMERA_TEST_CAMERA_H_
#define MOVRA_MEDIA_CAMERA_TEST_CAMERA_H_

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <variant>

#include "media/camera/test_picture.h"
#include "media/capture/frame_source.h"
#include "media/capture/source_kind.h"

namespace movra::media {

// What the id of a test camera asks for: "test:", or "test:?" and options joined by "&", such as
// "test:?frames=90&size=640x360&lossless".
struct TestCameraOptions {
  std::optional<std::uint64_t> frames{};  // "frames=N": how many there are; without it, no end.
  // "size=WxH", both even: the camera has this natural size. Without it the picture is drawn in
  // whatever size is asked for.
  std::optional<video::Size> size{};
  // "rate=N": what it has at most; without it, what is asked for.
  std::optional<std::int32_t> rate{};
  bool lossless = false;  // "lossless": as fast as frames are taken, without losing one.
};

inline constexpr std::array kTestCameraOptions{
    SourceOptionKind{"frames", "N", "how many there are; without it, no end"},
    SourceOptionKind{"size", "WxH", "its own size, even"},
    SourceOptionKind{"rate", "N", "its highest rate"},
    SourceOptionKind{"lossless", "", "as fast as frames are taken, without losing one"},
};

// The options of an id that begins with "test:", or what is wrong with it, for people.
[[nodiscard]] std::variant<TestCameraOptions, std::string> ParseTestCameraId(
    const std::string& camera_id);

// The camera that is always there (media/camera/test_picture.h). Live and in real time unless it is
// lossless; 1280x720 at 30 frames per second where nothing else is asked for. Sides are rounded up
// to even ones and limited to 8192. Frames are numbered from 0, in the sequence number as in the
// marker, and their time stamps are exact to the rate, also across a change of it.
class TestCamera final : public FrameSource {
 public:
  explicit TestCamera(std::string camera_id);

  // FrameSource
  [[nodiscard]] video::CameraInfo Describe() override;
  [[nodiscard]] video::CameraInfo Open(const CaptureRequest& request) override;
  [[nodiscard]] SourcePolicy Policy() const override;
  [[nodiscard]] SourceItem Read(const CaptureRequest& request) override;
  void Interrupt() override {}  // Nothing here waits.

 private:
  [[nodiscard]] video::Size SizeFor(video::Size asked) const;
  [[nodiscard]] std::chrono::nanoseconds NextTimestamp(std::int32_t rate);

  const std::string camera_id_;
  TestCameraOptions options_;
  FramePool pool_;
  std::unique_ptr<const TestPicture> picture_;  // In the size of the last frame.
  std::uint64_t next_number_ = 0;
  // Time stamps count intervals of the present rate from the last change of it.
  std::int32_t rate_ = 0;
  std::int64_t intervals_ = 0;
  std::chrono::nanoseconds rate_since_{0};
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_CAMERA_TEST_CAMERA_H_
