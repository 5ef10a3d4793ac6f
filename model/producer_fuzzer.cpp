// libFuzzer's entry: the bytes are the choices of one random play.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>

#include "model/random_play.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto result = movra::video::model::Play(std::span(data, size));
  if (!result.failure.empty()) {
    std::fprintf(stderr, "%s\n", result.failure.c_str());
    std::abort();
  }
  return 0;
}
