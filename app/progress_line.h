// The line that a person watches while a run goes on.

#ifndef MOVRA_APP_PROGRESS_LINE_H_
#define MOVRA_APP_PROGRESS_LINE_H_

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

namespace movra::app {

// What the run has done up to a moment.
struct ProgressSample {
  struct Stream {
    std::string name;
    std::uint64_t frames = 0;
    std::uint64_t bytes = 0;
  };

  std::chrono::nanoseconds wall_time{0};
  std::chrono::nanoseconds media_time{0};
  std::uint64_t frames_in = 0;
  std::uint64_t dropped = 0;
  std::vector<Stream> streams;
};

// Turns samples into the line. Rates and speed are those of the last seconds, not of the whole run.
class ProgressLine {
 public:
  // `total` is the media time of the whole run, if it is known.
  explicit ProgressLine(std::optional<std::chrono::nanoseconds> total) : total_(total) {}

  // The line for a sample, which is later than those before it, in so many columns: where not
  // everything fits, what is least worth knowing is left out, but never what was dropped.
  [[nodiscard]] std::string Text(const ProgressSample& sample, std::size_t columns);

 private:
  const std::optional<std::chrono::nanoseconds> total_;
  std::deque<ProgressSample> recent_;
};

}  // namespace movra::app

#endif  // MOVRA_APP_PROGRESS_LINE_H_
