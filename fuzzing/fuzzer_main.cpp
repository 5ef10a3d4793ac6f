// libFuzzer's entry; which function it calls is said where it is compiled.

#include <cstddef>
#include <cstdint>

#include "fuzzing/fuzz_targets.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  movra::fuzzing::MOVRA_FUZZ_TARGET({data, size});
  return 0;
}
