// Plays a script by the clock.

#ifndef MOVRA_APP_SCRIPT_PLAYER_H_
#define MOVRA_APP_SCRIPT_PLAYER_H_

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

#include "app/script.h"
#include "core/dispatch_queue.h"

namespace movra::app {

// On the main queue, all of it. A line whose time has passed, because the queue was busy, is played
// as soon as may be; none is left out.
class ScriptPlayer : public std::enable_shared_from_this<ScriptPlayer> {
 public:
  using Clock = std::chrono::steady_clock;
  using Play = std::function<void(const ScriptLine&)>;

  ScriptPlayer(std::vector<ScriptLine> lines, Play play, std::shared_ptr<core::DispatchQueue> queue,
               std::function<Clock::time_point()> now);

  // Once. The times count from here; the first line is played in a task of its own.
  void Start();
  // No line is played any more.
  void Stop() { next_ = lines_.size(); }
  // Whether no line is left; so at the last one, while it is played.
  [[nodiscard]] bool is_over() const { return next_ == lines_.size(); }

 private:
  void WaitForNext();
  void PlayNext();

  const std::vector<ScriptLine> lines_;
  const Play play_;
  const std::shared_ptr<core::DispatchQueue> queue_;
  const std::function<Clock::time_point()> now_;
  Clock::time_point started_at_;
  std::size_t next_ = 0;
};

}  // namespace movra::app

#endif  // MOVRA_APP_SCRIPT_PLAYER_H_
