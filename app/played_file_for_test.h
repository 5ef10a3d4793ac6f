// What a player finds in a video file whose frames carry their number.

#ifndef MOVRA_APP_PLAYED_FILE_FOR_TEST_H_
#define MOVRA_APP_PLAYED_FILE_FOR_TEST_H_

#include <cstdint>
#include <string>
#include <vector>

#include "video/size.h"

namespace movra::app {

struct PlayedFile {
  std::string error;  // Empty: it plays to its end, and every frame has its number.
  video::Size size;   // Of every frame; 0x0 if they differ.
  std::vector<std::uint32_t> numbers;
  std::vector<double> times_s;  // From the first frame on.
};

[[nodiscard]] PlayedFile Play(const std::string& path);

}  // namespace movra::app

#endif  // MOVRA_APP_PLAYED_FILE_FOR_TEST_H_
