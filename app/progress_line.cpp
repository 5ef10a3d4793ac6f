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

// How much a line says of a stream.
enum class Detail { kAll, kRates, kBitrates };

// What happened between two samples.
class Stretch {
 public:
  Stretch(const ProgressSample& then, const ProgressSample& now)
      : then_(then),
        now_(now),
        wall_s_(Seconds(now.wall_time - then.wall_time)),
        media_s_(Seconds(now.media_time - then.media_time)) {}

  [[nodiscard]] double speed() const { return Ratio(media_s_, wall_s_); }

  // "  big 180 90/s 1500 kb/s"
  [[nodiscard]] std::string StreamText(std::size_t index, Detail detail) const {
    const ProgressSample::Stream& now = now_.streams[index];
    const ProgressSample::Stream then =
        index < then_.streams.size() ? then_.streams[index] : ProgressSample::Stream{};
    const double frames = static_cast<double>(now.frames - then.frames);
    const double bits = 8.0 * static_cast<double>(now.bytes - then.bytes);
    char rate[32];
    std::snprintf(rate, sizeof rate, " %.0f/s", Ratio(frames, wall_s_));
    std::string text = "  " + now.name;
    if (detail == Detail::kAll) text += " " + std::to_string(now.frames);
    if (detail != Detail::kBitrates) text += rate;
    return text + " " + BitrateText(Ratio(bits, media_s_));
  }

 private:
  const ProgressSample& then_;
  const ProgressSample& now_;
  const double wall_s_;
  const double media_s_;
};

}  // namespace

std::string ProgressLine::Text(const ProgressSample& sample, std::size_t columns) {
  while (recent_.size() > 1 && sample.wall_time - recent_[1].wall_time >= kWindow) {
    recent_.pop_front();
  }
  const ProgressSample before = recent_.empty() ? ProgressSample{} : recent_.front();
  recent_.push_back(sample);

  const Stretch stretch(before, sample);
  std::string head = ClockText(sample.media_time);
  if (total_) head += " of " + ClockText(*total_);
  char number[32];
  std::snprintf(number, sizeof number, "  %.1fx", stretch.speed());
  head += number;
  if (total_ && stretch.speed() > 0 && *total_ > sample.media_time) {
    head += "  left " + LeftText(Seconds(*total_ - sample.media_time) / stretch.speed());
  }
  const std::string drop = "  drop " + std::to_string(sample.dropped);
  for (const Detail detail : {Detail::kAll, Detail::kRates, Detail::kBitrates}) {
    std::string text = head;
    if (detail == Detail::kAll) text += "  in " + std::to_string(sample.frames_in);
    for (std::size_t i = 0; i < sample.streams.size(); ++i) text += stretch.StreamText(i, detail);
    text += drop;
    if (text.size() <= columns) return text;
  }
  return head + drop;
}

}  // namespace movra::app
