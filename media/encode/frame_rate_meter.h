#ifndef MOVRA_MEDIA_ENCODE_FRAME_RATE_METER_H_
#define MOVRA_MEDIA_ENCODE_FRAME_RATE_METER_H_

#include <cstdint>

namespace movra::media {

// Measures how many frames per second really come, for a rate control that has to be told.
//
// It answers with the rate that was expected until half a second of frames says otherwise by more
// than a tenth, and then with the measured one. A single gap, as of a paused source, is no measure
// of a rate and hardly counts; a source that stays slow does.
//
// Times are in ticks of a 90 kHz clock and rise. One thread at a time.
class FrameRateMeter {
 public:
  explicit FrameRateMeter(double expected_rate) : rate_(expected_rate) {}

  // Takes the next frame's time. Whether the rate changed.
  bool Add(std::int64_t ticks);

  // Frames per second.
  [[nodiscard]] double rate() const { return rate_; }

 private:
  double rate_;
  bool started_ = false;
  std::int64_t last_ticks_ = 0;
  std::int64_t last_interval_ = 0;  // 0: none yet.
  // Of the frames since the last decision.
  std::int64_t elapsed_ = 0;
  std::int64_t intervals_ = 0;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_ENCODE_FRAME_RATE_METER_H_
