#include "app/frame_listeners.h"

#include <chrono>
#include <cstdint>
#include <limits>
#include <optional>
#include <string_view>
#include <thread>
#include <utility>

#include "media/frame/frame_pool.h"
#include "media/frame/writable_frame.h"
#include "media/text/number_text.h"

namespace movra::app {
namespace {

using video::InterceptPosition;
using video::PixelFormat;
using video::PixelFrame;

constexpr std::int64_t kLongestSleepMs = 60'000;

bool HasLumaOfEightBits(PixelFormat format) {
  switch (format) {
    case PixelFormat::kI420:
    case PixelFormat::kNV12:
    case PixelFormat::kI422:
    case PixelFormat::kI444:
    case PixelFormat::kGray:
      return true;
    default:
      return false;
  }
}

class InvertListener final : public video::VideoInterceptorListener {
 public:
  PixelFrame OnInterceptFrame(InterceptPosition /*position*/, PixelFrame frame) override {
    if (!HasLumaOfEightBits(frame.info().format)) return frame;
    media::WritableFrame picture = media::WritableFrame::Of(std::move(frame), pool_);
    std::uint8_t* row = picture ? picture.plane(0) : nullptr;
    for (int y = 0; y < picture.info().size.height; ++y, row += picture.stride(0)) {
      for (int x = 0; x < picture.info().size.width; ++x) {
        row[x] = static_cast<std::uint8_t>(255 - row[x]);
      }
    }
    return std::move(picture).Finish();  // Dropped when memory is out.
  }

 private:
  media::FramePool pool_;
};

class DropListener final : public video::VideoInterceptorListener {
 public:
  explicit DropListener(std::int64_t nth) : nth_(nth) {}

  PixelFrame OnInterceptFrame(InterceptPosition /*position*/, PixelFrame frame) override {
    if (++count_ < nth_) return frame;
    count_ = 0;
    return {};
  }

 private:
  const std::int64_t nth_;
  std::int64_t count_ = 0;  // Since the last one dropped; the preprocessor queue's.
};

// Slows its queue down, which is what it is for.
class SleepListener final : public video::VideoInterceptorListener {
 public:
  explicit SleepListener(std::chrono::milliseconds time) : time_(time) {}

  PixelFrame OnInterceptFrame(InterceptPosition /*position*/, PixelFrame frame) override {
    std::this_thread::sleep_for(time_);
    return frame;
  }

 private:
  const std::chrono::milliseconds time_;
};

// The number behind "drop:" in "drop:3"; absent if the text is something else.
std::optional<std::int64_t> NumberBehind(std::string_view prefix, std::string_view text,
                                         std::int64_t greatest) {
  if (!text.starts_with(prefix)) return std::nullopt;
  const auto number = media::ParseWhole(text.substr(prefix.size()));
  if (!number || *number < 1 || *number > greatest) return std::nullopt;
  return number;
}

}  // namespace

Result<std::shared_ptr<video::VideoInterceptorListener>> MakeFrameListener(
    const std::string& text) {
  if (text == "invert") return std::make_shared<InvertListener>();
  constexpr std::int64_t kAny = std::numeric_limits<std::int64_t>::max();
  if (const auto nth = NumberBehind("drop:", text, kAny)) {
    return std::make_shared<DropListener>(*nth);
  }
  if (const auto time = NumberBehind("sleep:", text, kLongestSleepMs)) {
    return std::make_shared<SleepListener>(std::chrono::milliseconds(*time));
  }
  return Failure{ExitCode::kMalformed,
                 "'" + text +
                     "' is no listener; write 'invert', 'drop:N' with an N from 1 on, or "
                     "'sleep:MS' with 1 to 60000 milliseconds"};
}

}  // namespace movra::app
