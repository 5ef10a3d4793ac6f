#ifndef MOVRA_MEDIA_FIGURES_FRAME_COUNTER_FOR_TEST_H_
#define MOVRA_MEDIA_FIGURES_FRAME_COUNTER_FOR_TEST_H_

#include <atomic>
#include <cstdint>
#include <memory>

#include "video/pixel_frame.h"

namespace movra::media {

// Counts the frames that exist, so that a test sees how many are in flight.
class FrameCounter {
 public:
  video::PixelFrame Make(std::uint64_t sequence, video::FrameDelivery delivery) {
    video::PixelFrameInfo info;
    info.sequence = sequence;
    info.delivery = delivery;
    const int alive = alive_.fetch_add(1) + 1;
    int most = most_.load();
    while (alive > most && !most_.compare_exchange_weak(most, alive)) {
    }
    return {info, std::shared_ptr<const void>(this, [this](const void*) { --alive_; })};
  }

  int alive() const { return alive_; }
  int most() const { return most_; }

 private:
  std::atomic<int> alive_ = 0;
  std::atomic<int> most_ = 0;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_FIGURES_FRAME_COUNTER_FOR_TEST_H_
