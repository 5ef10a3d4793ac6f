#include "app/stall_watch.h"

#include <utility>

#include "app/duration_text.h"

namespace movra::app {

std::string StallWatch::Notice(std::chrono::steady_clock::time_point now, std::uint64_t frames,
                               const std::string& reader) {
  const auto idle = now - last_change_;
  if (frames != frames_) {
    frames_ = frames;
    last_change_ = now;
    return std::exchange(told_, false) ? "note: it goes on, after " + ClockText(idle) : "";
  }
  if (told_ || idle < kPatience) return "";
  told_ = true;
  if (!reader.empty()) return "note: the reader of " + reader + " takes nothing; waiting for it";
  return kSourceNotice;
}

}  // namespace movra::app
