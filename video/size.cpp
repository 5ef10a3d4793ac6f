#include "video/size.h"

namespace movra::video {

std::string Size::ToString() const {
  return "Size{" + std::to_string(width) + "x" + std::to_string(height) + "}";
}

}  // namespace movra::video
