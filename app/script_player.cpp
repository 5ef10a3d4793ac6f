#include "app/script_player.h"

#include <algorithm>
#include <utility>

#include "base/once_callback.h"

namespace movra::app {

using std::chrono::nanoseconds;

ScriptPlayer::ScriptPlayer(std::vector<ScriptLine> lines, Play play,
                           std::shared_ptr<core::DispatchQueue> queue,
                           std::function<Clock::time_point()> now)
    : lines_(std::move(lines)),
      play_(std::move(play)),
      queue_(std::move(queue)),
      now_(std::move(now)) {}

void ScriptPlayer::Start() {
  started_at_ = now_();
  WaitForNext();
}

void ScriptPlayer::WaitForNext() {
  if (is_over()) return;
  const nanoseconds left = started_at_ + lines_[next_].at - now_();
  queue_->PostDelayed(movra_base::BindOnce(&ScriptPlayer::PlayNext, weak_from_this()),
                      std::max(left, nanoseconds(0)));
}

void ScriptPlayer::PlayNext() {
  if (is_over()) return;
  // A queue may be early by what its clock rounds.
  if (started_at_ + lines_[next_].at > now_()) return WaitForNext();
  const ScriptLine& line = lines_[next_++];
  play_(line);
  WaitForNext();
}

}  // namespace movra::app
