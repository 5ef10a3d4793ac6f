#include "media/screen/screen_control.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <utility>

namespace movra::media {
namespace {

template <class T>
void Take(movra_base::Optional<T>& value, const movra_base::Optional<T>& update) {
  if (update.has_value()) value = update;
}

}  // namespace

void MergeInto(video::DesktopScreenParams& params, const video::DesktopScreenParams& update) {
  Take(params.frame_rate, update.frame_rate);
  Take(params.source_id, update.source_id);
  Take(params.region, update.region);
  Take(params.source_kind, update.source_kind);
  Take(params.capture_cursor, update.capture_cursor);
  Take(params.capture_children, update.capture_children);
  Take(params.show_border, update.show_border);
  Take(params.border_color, update.border_color);
  Take(params.border_width, update.border_width);
  Take(params.exclude_own_windows, update.exclude_own_windows);
  Take(params.capture_covered, update.capture_covered);
  Take(params.activate_window, update.activate_window);
  Take(params.high_dpi, update.high_dpi);
}

ScreenControl::ScreenControl(ScreenSettings settings)
    : wake_fd_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)), settings_(std::move(settings)) {}

ScreenControl::~ScreenControl() { close(wake_fd_); }

void ScreenControl::Change(const std::function<void(ScreenSettings&)>& change) {
  {
    const MutexLock lock(mutex_);
    change(settings_);
    ++version_;
  }
  Wake();
}

void ScreenControl::Interrupt() {
  {
    const MutexLock lock(mutex_);
    interrupted_ = true;
  }
  Wake();
}

bool ScreenControl::is_interrupted() const {
  const MutexLock lock(mutex_);
  return interrupted_;
}

ScreenSettings ScreenControl::settings() const {
  const MutexLock lock(mutex_);
  return settings_;
}

std::uint64_t ScreenControl::version() const {
  const MutexLock lock(mutex_);
  return version_;
}

void ScreenControl::Wake() const { eventfd_write(wake_fd_, 1); }

void ScreenControl::ClearWake() const {
  eventfd_t count = 0;
  eventfd_read(wake_fd_, &count);
}

}  // namespace movra::media
