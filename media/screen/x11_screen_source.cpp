#include "media/screen/x11_screen_source.h"

#include <poll.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>
#include <variant>

#include "logging/log_message.h"
#include "logging/log_stream.h"
#include "media/frame/convert_frame.h"
#include "media/screen/find_screen.h"

namespace movra::media {

using std::chrono::nanoseconds;
using video::CameraInfo;
using video::PixelFormat;
using video::PixelFrame;
using video::PixelFrameInfo;
using video::Size;
using video::StreamEnd;

namespace {

constexpr std::int32_t kHighestRate = 240;
constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;
// Between two attempts at a picture that cannot be had at the moment.
constexpr std::chrono::milliseconds kRetryInterval{50};

CameraInfo MakeFailure(const Failure<CameraError>& failure) {
  CameraInfo info;
  info.error_code = static_cast<std::int32_t>(failure.code);
  info.error_text = failure.text;
  return info;
}

Size EvenSize(const Size& size) { return {(size.width + 1) / 2 * 2, (size.height + 1) / 2 * 2}; }

PixelFrameInfo InfoOf(const Canvas& canvas) {
  PixelFrameInfo info;
  info.format = PixelFormat::kBGRA;
  info.size = canvas.size;
  info.planes[0] = {canvas.data, canvas.stride};
  return info;
}

// A copy with even sides.
PixelFrame Evened(const Canvas& canvas, FramePool& pool) {
  const Size size = EvenSize(canvas.size);
  WritableFrame frame = pool.Allocate(PixelFormat::kBGRA, size);
  if (!frame) return {};
  const auto row_bytes = static_cast<std::size_t>(canvas.size.width) * 4;
  for (int y = 0; y < size.height; ++y) {
    const std::uint8_t* const source = canvas.row(std::min(y, canvas.size.height - 1));
    std::uint8_t* const target = frame.plane(0) + static_cast<std::ptrdiff_t>(y) * frame.stride(0);
    std::memcpy(target, source, row_bytes);
    if (size.width > canvas.size.width) std::memcpy(target + row_bytes, source + row_bytes - 4, 4);
  }
  return std::move(frame).Finish();
}

void Warn(const std::string& text) {
  constexpr int kWarning = movra_logging::kLogLevelWarning;
  if (!movra_logging::ShouldCreateLogMessage(kWarning)) return;
  LogStream("media/screen/x11_screen_source", __LINE__, __func__, kWarning, nullptr) << text;
}

// What is asked for and not done yet; empty if all is.
std::string MissingFor(const ScreenSettings& settings) {
  std::string missing;
  const auto add = [&missing](bool is_missing, const char* what) {
    if (is_missing) missing += (missing.empty() ? "" : ", ") + std::string(what);
  };
  add(settings.params.capture_children.value_or(false), "capture_children");
  add(settings.params.show_border.value_or(false), "show_border");
  return missing;
}

}  // namespace

X11ScreenSource::X11ScreenSource(std::shared_ptr<ScreenControl> control,
                                 std::shared_ptr<ScreenObserver> observer)
    : control_(std::move(control)), observer_(std::move(observer)) {}

X11ScreenSource::X11ScreenSource(std::string id)
    : id_(std::move(id)), control_(std::make_shared<ScreenControl>()) {}

X11ScreenSource::~X11ScreenSource() = default;

CameraInfo X11ScreenSource::Describe() {
  if (const auto problem = Prepare()) return MakeFailure(*problem);
  CameraInfo info;
  const video::Region part = target_->part();
  info.natural_size = EvenSize({part.width, part.height});
  info.rate_numerator = kDefaultRate;
  info.traits.keeps_time = true;
  return info;
}

CameraInfo X11ScreenSource::Open(const CaptureRequest& /*request*/) { return Describe(); }

ScreenTarget::Problem X11ScreenSource::Prepare() {
  if (target_ != nullptr) return std::nullopt;
  // A capture that waits could not be woken.
  if (control_->wake_fd() < 0) {
    return Failure<CameraError>{CameraError::kNoResources,
                                "the system has no descriptor left for a screen"};
  }
  auto opened = X11Connection::Open();
  if (const auto* const failure = FailureOf(opened)) return *failure;
  connection_ = std::move(ValueOf(opened));
  if (!id_.empty()) {
    const auto named = FindScreen(*connection_, id_);
    if (const auto* const failure = FailureOf(named)) return *failure;
    control_->Change([&](ScreenSettings& settings) { settings.params = ValueOf(named); });
  }
  version_ = control_->version();
  settings_ = control_->settings();
  auto target = MakeScreenTarget(*connection_, settings_.params);
  if (const auto* const failure = FailureOf(target)) return *failure;
  if (auto problem = ValueOf(target)->Open(settings_)) return problem;
  target_ = std::move(ValueOf(target));
  cursor_.emplace(*connection_);
  WarnOfMissing();
  return std::nullopt;
}

SourceItem X11ScreenSource::Read(const CaptureRequest& request) {
  while (!control_->is_interrupted()) {
    if (auto item = Step(request.frame_rate)) return std::move(*item);
  }
  return std::monostate();
}

std::optional<SourceItem> X11ScreenSource::Step(std::int32_t asked_rate) {
  FollowSettings();
  SetRate(settings_.params.frame_rate.value_or(asked_rate));
  PumpEvents();
  const ScreenTarget::State state = target_->Update(Clock::now());
  if (state == ScreenTarget::State::kGone || connection_->is_broken()) return Gone(state);
  FollowPauses(state);
  if (std::exchange(is_covered_, target_->is_covered()) != target_->is_covered() && is_covered_ &&
      observer_ != nullptr) {
    observer_->OnCovered();
  }
  if (is_paused_) {
    Wait(std::nullopt);
    return std::nullopt;
  }
  const auto now = Clock::now();
  const std::int64_t slot = start_ ? SlotAt(now) : 0;
  if (start_ && slot <= last_slot_) {
    Wait(TimeOf(last_slot_ + 1));
    return std::nullopt;
  }
  const bool is_live = !is_minimised_;
  if (is_live && captures_cursor() && cursor_->Update(target_->part())) has_change_ = true;
  const bool has_news =
      is_live && target_->can_grab() && (has_change_ || target_->has_news() || !last_);
  if (has_news && TakePicture()) return Deliver(slot);
  if (last_ && now >= last_time_ + kRepeatInterval) return Deliver(slot);

  std::optional<Clock::time_point> next = target_->wake_at();
  const auto sooner = [&next](Clock::time_point time) {
    next = next ? std::min(*next, time) : time;
  };
  if (last_) sooner(last_time_ + kRepeatInterval);
  if (has_news) sooner(now + kRetryInterval);
  // The cursor moves without telling.
  if (is_live && last_ && captures_cursor()) sooner(TimeOf(slot + 1));
  Wait(next);
  return std::nullopt;
}

void X11ScreenSource::FollowSettings() {
  if (version_ == control_->version()) return;
  version_ = control_->version();
  settings_ = control_->settings();
  has_change_ = true;
  WarnOfMissing();
  if (const auto problem = target_->Change(settings_)) {
    Warn("A change of a screen's capture has no effect: " + problem->text);
  }
}

void X11ScreenSource::WarnOfMissing() {
  std::string missing = MissingFor(settings_);
  if (missing == missing_) return;
  missing_ = std::move(missing);
  if (!missing_.empty()) Warn("A screen is captured without what is not there yet: " + missing_);
}

void X11ScreenSource::PumpEvents() {
  while (const auto event = connection_->NextEvent()) target_->OnEvent(*event);
}

void X11ScreenSource::FollowPauses(ScreenTarget::State state) {
  using Paused = video::VideoScreenSharingPausedReason;
  using Resumed = video::VideoScreenSharingResumedReason;
  if (is_paused_ != settings_.paused) {
    is_paused_ = settings_.paused;
    has_change_ = true;  // Whatever happened meanwhile.
    if (observer_ != nullptr) {
      is_paused_ ? observer_->OnPaused(Paused::kByRequest)
                 : observer_->OnResumed(Resumed::kByRequest);
    }
  }
  const bool is_minimised = state == ScreenTarget::State::kMinimised;
  if (is_minimised_ != is_minimised) {
    is_minimised_ = is_minimised;
    has_change_ = true;
    if (observer_ != nullptr) {
      is_minimised ? observer_->OnPaused(Paused::kMinimised)
                   : observer_->OnResumed(Resumed::kRestored);
    }
  }
}

SourceItem X11ScreenSource::Gone(ScreenTarget::State state) {
  const bool is_gone = state == ScreenTarget::State::kGone && !connection_->is_broken();
  const auto reason =
      is_gone ? target_->why_gone() : video::VideoScreenSharingStoppedReason::kFailed;
  if (observer_ != nullptr) observer_->OnGone(reason);
  StreamEnd end;
  end.error_code = static_cast<std::int32_t>(CameraError::kDeviceLost);
  end.reason = "the X server is gone";
  if (is_gone) {
    const bool is_monitor = reason == video::VideoScreenSharingStoppedReason::kMonitorGone;
    end.reason = is_monitor ? "the monitor is gone" : "the window was closed";
  }
  return end;
}

void X11ScreenSource::Wait(std::optional<Clock::time_point> deadline) {
  xcb_flush(connection_->xcb());
  // Replies bring events along, for which the descriptor says nothing any more.
  if (const auto event = connection_->NextEvent()) return target_->OnEvent(*event);
  std::array<pollfd, 2> waits{
      {{xcb_get_file_descriptor(connection_->xcb()), POLLIN, 0}, {control_->wake_fd(), POLLIN, 0}}};
  timespec left{};
  if (deadline) {
    const auto rest = std::max<nanoseconds>(*deadline - Clock::now(), nanoseconds(0)).count();
    left.tv_sec = rest / kNanosecondsPerSecond;
    left.tv_nsec = rest % kNanosecondsPerSecond;
  }
  ppoll(waits.data(), waits.size(), deadline ? &left : nullptr, nullptr);
  // Only here: what is told from now on ends the next wait, and what was is looked at before it.
  if (waits[1].revents != 0) control_->ClearWake();
}

void X11ScreenSource::SetRate(std::int32_t rate) {
  rate = rate > 0 ? std::min(rate, kHighestRate) : kDefaultRate;
  if (rate == rate_) return;
  // The next frame may come one new interval behind the last.
  if (start_) {
    origin_ = last_time_;
    last_slot_ = 0;
  }
  rate_ = rate;
}

std::int64_t X11ScreenSource::SlotAt(Clock::time_point time) const {
  const std::int64_t passed = nanoseconds(time - origin_).count();
  std::int64_t slot = passed / kNanosecondsPerSecond * rate_ +
                      passed % kNanosecondsPerSecond * rate_ / kNanosecondsPerSecond;
  if (TimeOf(slot + 1) <= time) ++slot;  // Intervals are no whole nanoseconds.
  return slot;
}

X11ScreenSource::Clock::time_point X11ScreenSource::TimeOf(std::int64_t slot) const {
  return origin_ + nanoseconds(slot / rate_ * kNanosecondsPerSecond +
                               slot % rate_ * kNanosecondsPerSecond / rate_);
}

bool X11ScreenSource::captures_cursor() const {
  return settings_.params.capture_cursor.value_or(true);
}

bool X11ScreenSource::TakePicture() {
  const Canvas* const canvas = target_->Grab();
  if (canvas == nullptr) return false;
  if (captures_cursor()) cursor_->Draw(*canvas, target_->part());
  PixelFrame frame = MakeFrame(*canvas);
  if (!frame) return false;
  last_ = std::move(frame);
  has_change_ = false;
  const bool is_window = target_->mode() == video::CapturerMode::kWindow;
  const bool has_other_size = std::exchange(size_, canvas->size) != canvas->size;
  if (mode_ != target_->mode()) {
    const auto before = std::exchange(mode_, target_->mode());
    if (observer_ != nullptr) observer_->OnMode(before, mode_);
  } else if (is_window && has_other_size && observer_ != nullptr) {
    observer_->OnWindowSize(size_);
  }
  return true;
}

PixelFrame X11ScreenSource::MakeFrame(const Canvas& canvas) {
  const bool is_even = EvenSize(canvas.size) == canvas.size;
  // The canvas is there for the time of the conversion, which shares nothing of it.
  const PixelFrame whole =
      is_even
          ? PixelFrame(InfoOf(canvas), std::shared_ptr<const void>(std::shared_ptr<void>(), this))
          : Evened(canvas, pool_);
  return ConvertFrame(whole, PixelFormat::kI420, pool_);
}

SourceItem X11ScreenSource::Deliver(std::int64_t slot) {
  if (!start_) start_ = origin_ = Clock::now();
  last_slot_ = slot;
  last_time_ = TimeOf(slot);
  PixelFrameInfo info = last_.info();
  info.timestamp = last_time_ - *start_;
  info.capture_time = Clock::now().time_since_epoch();
  info.sequence = next_sequence_++;
  return SourceFrame{last_.WithInfo(info), info.size};
}

}  // namespace movra::media
