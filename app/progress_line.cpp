#include "app/progress_line.h"

#include <cstdio>

#include "app/duration_text.h"
#include "app/picture_text.h"

namespace movra::app {
namespace {

using std::chrono::nanoseconds;

constexpr nanoseconds kWindow = std::chrono::seconds(2);

double Seconds(nanoseconds duration) { return std::chrono::duration<double>(duration).count(); }

double Ratio(double amount, double time) { return time > 0 ? amount / time : 0; }

// "0:31", the seconds rounded up: nothing is left only when nothing is.
std::string LeftText(double seconds) {
  const std::string clock =
      ClockText(std::chrono::seconds(static_cast<std::int64_t>(seconds + 0.999)));
  return clock.substr(0, clock.rfind('.'));
}

}  // namespace

std::string ProgressLine::Text(const ProgressSample& sample) {
  while (recent_.size() > 1 && sample.wall_time - recent_[1].wall_time >= kWindow) {
    recent_.pop_front();
  }
  const ProgressSample before = recent_.empty() ? ProgressSample{} : recent_.front();
  recent_.push_back(sample);

  const double wall = Seconds(sample.wall_time - before.wall_time);
  const double media = Seconds(sample.media_time - before.media_time);
  const double speed = Ratio(media, wall);
  std::string text = ClockText(sample.media_time);
  if (total_) text += " of " + ClockText(*total_);
  char number[32];
  std::snprintf(number, sizeof number, "  %.1fx", speed);
  text += number;
  if (total_ && speed > 0 && *total_ > sample.media_time) {
    text += "  left " + LeftText(Seconds(*total_ - sample.media_time) / speed);
  }
  text += "  in " + std::to_string(sample.frames_in);
  for (std::size_t i = 0; i < sample.streams.size(); ++i) {
    const ProgressSample::Stream& now = sample.streams[i];
    const ProgressSample::Stream then =
        i < before.streams.size() ? before.streams[i] : ProgressSample::Stream{};
    const double frames = static_cast<double>(now.frames - then.frames);
    const double bits = 8.0 * static_cast<double>(now.bytes - then.bytes);
    std::snprintf(number, sizeof number, " %.0f/s ", Ratio(frames, wall));
    text += "  " + now.name + " " + std::to_string(now.frames) + number +
            BitrateText(Ratio(bits, media));
  }
  return text + "  drop " + std::to_string(sample.dropped);
}

}  // namespace movra::app
