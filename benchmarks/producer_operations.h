#ifndef MOVRA_BENCHMARKS_PRODUCER_OPERATIONS_H_
#define MOVRA_BENCHMARKS_PRODUCER_OPERATIONS_H_

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "video/producer/video_producer2_impl.h"

namespace movra::benchmarks {

// One operation of the producer, repeatable in the state that MakeProducer leaves.
struct ProducerOperation {
  std::string name;
  // Only passes its arguments on: must allocate nothing and stay under 100 ns.
  bool only_forwards;
  std::function<void(video::VideoProducer2Impl&)> run;
};

// Every operation of the interface and every event that the producer receives.
[[nodiscard]] std::vector<ProducerOperation> AllProducerOperations();

// An initialised producer with a preview, a running camera and both encoders. Its client is kept
// by the process.
[[nodiscard]] std::shared_ptr<video::VideoProducer2Impl> MakeProducer();

// Encode parameters of the big stream, as MakeProducer set them.
[[nodiscard]] video::EncodeParams MakeEncodeParams();
[[nodiscard]] video::CameraParams MakeCameraParams();

}  // namespace movra::benchmarks

#endif  // MOVRA_BENCHMARKS_PRODUCER_OPERATIONS_H_
