// What can be seen of a producer from outside, as words: which collaborators live, how they are
// wired and what each was last told. The model predicts it and the doubles show it, so the two can
// be compared after every step.

#ifndef MOVRA_MODEL_OBSERVED_STATE_H_
#define MOVRA_MODEL_OBSERVED_STATE_H_

#include <map>
#include <string>

#include "testing/environment.h"
#include "video/producer/video_producer2.h"

namespace movra::video::model {

// From what is looked at to what is seen there. Nothing is listed for what does not exist.
using ObservedState = std::map<std::string, std::string>;

// Reads the doubles and asks the producer its state. Leaves no trace in the journal but checks of
// the main queue.
[[nodiscard]] ObservedState Observe(testing::Environment& environment, IVideoProducer2& producer);

// The lines in which the two differ, "what: expected | seen".
[[nodiscard]] std::string Differences(const ObservedState& expected, const ObservedState& seen);

}  // namespace movra::video::model

#endif  // MOVRA_MODEL_OBSERVED_STATE_H_
