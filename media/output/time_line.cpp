#include "media/output/time_line.h"

#include <algorithm>
#include <utility>

namespace movra::media {

using std::chrono::nanoseconds;

TimeLine::TimeLine(std::shared_ptr<TimeOrigin> origin)
    : origin_(origin != nullptr ? std::move(origin) : std::make_shared<TimeOrigin>()) {}

nanoseconds TimeLine::Add(nanoseconds timestamp, nanoseconds duration) {
  nanoseconds place = PlaceOf(timestamp);
  if (last_ && timestamp < last_timestamp_) {
    const nanoseconds next = *last_ + last_duration_;
    shift_ += next - place;
    place = next;
  }
  // The first one is older than another stream's by the length of an encode at most.
  last_ = std::max(place, last_.value_or(nanoseconds(0)));
  last_timestamp_ = timestamp;
  last_duration_ = duration;
  return *last_;
}

nanoseconds TimeLine::PlaceOf(nanoseconds timestamp) const {
  return origin_->Since(timestamp) + shift_;
}

}  // namespace movra::media
