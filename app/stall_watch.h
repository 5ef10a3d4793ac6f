// Notices that nothing comes any more, so that a person who waits knows what for.

#ifndef MOVRA_APP_STALL_WATCH_H_
#define MOVRA_APP_STALL_WATCH_H_

#include <chrono>
#include <cstdint>
#include <string>

namespace movra::app {

// Asked now and then, and told each time how far the run is. Main queue.
class StallWatch {
 public:
  // How long nothing may come before it is worth a word.
  static constexpr std::chrono::seconds kPatience{2};
  static constexpr char kSourceNotice[] = "note: the source gives nothing; waiting for it";

  explicit StallWatch(std::chrono::steady_clock::time_point now) : last_change_(now) {}

  // The line to show, or an empty one. `frames` is what has been encoded so far. `reader` names the
  // output whose reader is waited for at this moment; with none it is the source that gives
  // nothing.
  [[nodiscard]] std::string Notice(std::chrono::steady_clock::time_point now, std::uint64_t frames,
                                   const std::string& reader);

 private:
  std::uint64_t frames_ = 0;
  std::chrono::steady_clock::time_point last_change_;
  bool told_ = false;
};

}  // namespace movra::app

#endif  // MOVRA_APP_STALL_WATCH_H_
