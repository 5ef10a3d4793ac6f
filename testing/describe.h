// The short text of every value that crosses an interface, as journal entries show it.
//
// Short, because tests spell these texts; complete, because a field that is left out of the text is
// a field that no test compares. Numbers print so that they read back as the same value.

#ifndef MOVRA_TESTING_DESCRIBE_H_
#define MOVRA_TESTING_DESCRIBE_H_

#include <concepts>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "base/once_callback.h"
#include "base/optional.h"
#include "base/value.h"
#include "testing/images.h"
#include "testing/named.h"
#include "video/capture_params.h"
#include "video/custom_process_params.h"
#include "video/encode_params.h"
#include "video/event_msg.h"
#include "video/green_screen_params.h"
#include "video/pixel_frame.h"
#include "video/size.h"
#include "video/video_context.h"
#include "video/video_device_info.h"
#include "video/video_types.h"

namespace movra::testing {

[[nodiscard]] std::string Describe(bool value);
[[nodiscard]] std::string Describe(float value);  // The shortest text that reads back the same.
[[nodiscard]] std::string Describe(double value);
[[nodiscard]] std::string Describe(const std::string& text);
[[nodiscard]] std::string Describe(const char* text);

template <std::integral T>
[[nodiscard]] std::string Describe(T value) {
  return std::to_string(value);
}

// An enumeration without a text form shows its number.
template <class E>
requires std::is_enum_v<E>
[[nodiscard]] std::string Describe(E value) {
  return std::to_string(static_cast<std::underlying_type_t<E>>(value));
}
[[nodiscard]] std::string Describe(video::VideoSourceType value);
[[nodiscard]] std::string Describe(video::VideoStreamType value);
[[nodiscard]] std::string Describe(video::PixelFormat value);
[[nodiscard]] std::string Describe(video::BufferType value);
[[nodiscard]] std::string Describe(video::MirrorMode value);
[[nodiscard]] std::string Describe(video::VideoRotation value);
[[nodiscard]] std::string Describe(video::FillMode value);
[[nodiscard]] std::string Describe(video::GSensorMode value);
[[nodiscard]] std::string Describe(video::FrameAdaptiveMode value);
[[nodiscard]] std::string Describe(video::ProducerMode value);
[[nodiscard]] std::string Describe(video::InterceptPosition value);
[[nodiscard]] std::string Describe(video::VideoEncoderError value);

[[nodiscard]] std::string Describe(const video::Size& size);             // 1280x720
[[nodiscard]] std::string Describe(const video::VideoContext& context);  // {7 [call][main]}
// {cam-1 1280x720@30 facing=1 orientation=90 cover=holiday}, absent pieces left out; of a size
// with one side, "1280x-" and "-x720".
[[nodiscard]] std::string Describe(const video::CameraParams& params);
// {@15 source_id=7 region=640x360+1+2 cursor=true}, absent pieces left out.
[[nodiscard]] std::string Describe(const video::DesktopScreenParams& params);
[[nodiscard]] std::string Describe(const video::MobileScreenParams& params);
[[nodiscard]] std::string Describe(const video::VideoCoverImageParams& params);  // {holiday 1}
[[nodiscard]] std::string Describe(const video::Region& region);                 // 640x360+1+2
// {1280x720@30 bitrate_bps=1500000}, absent pieces left out as above.
[[nodiscard]] std::string Describe(const video::EncodeParams& params);
// {1280x720 enabled kMemory kI420 kBig}; "disabled" for the flag, and the reserved field only
// where it is not 0.
[[nodiscard]] std::string Describe(const video::CustomProcessParams& params);
[[nodiscard]] std::string Describe(const video::PixelFrameFormat& format);   // {kMemory kI420}
[[nodiscard]] std::string Describe(const video::EncoderProperty& property);  // {1 1280x720 x264}
[[nodiscard]] std::string Describe(const video::EncodeAbility& ability);     // {1 0 1 0}
[[nodiscard]] std::string Describe(const video::RoiConfigInfo& region);      // {16x16+0+8 qp-4}
[[nodiscard]] std::string Describe(const video::GreenScreenParams& params);
// {cam-1 name=Camera driver=test capabilities=3}, empty pieces left out.
[[nodiscard]] std::string Describe(const video::VideoDeviceInfo& device);
[[nodiscard]] std::string Describe(const EventMsg& message);  // Its text.
[[nodiscard]] std::string Describe(const movra_base::Value& value);
[[nodiscard]] std::string Describe(const video::PixelFrame& frame);  // frame 3
[[nodiscard]] std::string Describe(const video::StreamEnd& end);     // end 0

// Whether there is something to run, "callback" or "null".
template <class Signature>
[[nodiscard]] std::string Describe(const movra_base::OnceCallback<Signature>& callback) {
  return callback ? "callback" : "null";
}

template <class T>
requires std::is_class_v<T>
[[nodiscard]] std::string Describe(const T* object) { return NameOf(object); }

// A cover record has no name of its own; its text does as well.
[[nodiscard]] std::string Describe(const std::shared_ptr<video::VideoCoverImageParams>& params);

template <class T>
[[nodiscard]] std::string Describe(const std::shared_ptr<T>& object) {
  return NameOf(object.get());
}

// "null" for one that was never set, "expired" for one whose object is gone.
template <class T>
[[nodiscard]] std::string Describe(const std::weak_ptr<T>& object) {
  if (const std::shared_ptr<T> alive = object.lock()) return NameOf(alive.get());
  const std::weak_ptr<T> unset;
  return object.owner_before(unset) || unset.owner_before(object) ? "expired" : "null";
}

template <class T>
[[nodiscard]] std::string Describe(const movra_base::Optional<T>& value) {
  return value.has_value() ? Describe(value.value()) : "absent";
}

template <class T>
[[nodiscard]] std::string Describe(const std::vector<T>& values) {
  std::string text = "[";
  for (const T& value : values) {
    if (text.size() > 1) text += ", ";
    text += Describe(value);
  }
  return text + "]";
}

// Lives while a call is described, which takes texts of the core's own.
class Describing {
 public:
  Describing() { ++depth; }
  ~Describing() { --depth; }
  Describing(const Describing&) = delete;
  Describing& operator=(const Describing&) = delete;

  // Of this thread.
  [[nodiscard]] static bool IsInProgress() { return depth > 0; }

 private:
  inline static thread_local int depth = 0;
};

// "object.Operation(first, second)"
template <class... Args>
[[nodiscard]] std::string DescribeCall(std::string_view object, std::string_view operation,
                                       const Args&... args) {
  const Describing describing;
  std::string text(object);
  if (!text.empty()) text += '.';
  text.append(operation) += '(';
  [[maybe_unused]] const char* separator = "";
  ((text.append(separator) += Describe(args), separator = ", "), ...);
  return text + ')';
}

}  // namespace movra::testing

#endif  // MOVRA_TESTING_DESCRIBE_H_
