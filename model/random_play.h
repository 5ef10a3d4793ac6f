// Plays a producer and its model side by side: random operations, events of collaborators,
// notifications, missing services, null factories, dying clients and late callbacks. After every
// step what the doubles show must be what the model says.

#ifndef MOVRA_MODEL_RANDOM_PLAY_H_
#define MOVRA_MODEL_RANDOM_PLAY_H_

#include <cstdint>
#include <span>
#include <string>

namespace movra::video::model {

struct PlayResult {
  // What went wrong first, with the steps that led there; empty if nothing did.
  std::string failure;
  std::size_t steps = 0;
};

// One play from construction to release. Besides the model it holds the producer to this: no
// writer of its own is ever registered twice at the preprocessor; every once-callback is destroyed
// exactly once and run at most once; after the release nothing that the producer made is alive.
[[nodiscard]] PlayResult Play(std::span<const std::uint8_t> bytes);

}  // namespace movra::video::model

#endif  // MOVRA_MODEL_RANDOM_PLAY_H_
