#ifndef MOVRA_MEDIA_TEXT_WARNING_H_
#define MOVRA_MEDIA_TEXT_WARNING_H_

#include <string_view>

#include "video/video_context.h"

namespace movra::media {

// Writes one warning line about the instance of the context. `file` is the caller's as log lines
// name it, without its ending. Any thread; hold no lock, because log sinks are called.
void Warn(const video::VideoContext& context, const char* file, std::string_view text,
          const char* function = __builtin_FUNCTION(), int line = __builtin_LINE());

}  // namespace movra::media

#endif  // MOVRA_MEDIA_TEXT_WARNING_H_
