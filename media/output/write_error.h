#ifndef MOVRA_MEDIA_OUTPUT_WRITE_ERROR_H_
#define MOVRA_MEDIA_OUTPUT_WRITE_ERROR_H_

#include <cstdint>

#include "media/result/result.h"

namespace movra::media {

enum class WriteErrorKind : std::int32_t {
  kFailed = 0,      // As the text says.
  kClosedPipe = 1,  // The reader of a pipe went away; to many programs that is no error.
  kDiskFull = 2,
  kInterrupted = 3,  // Closed while the reader of a pipe took nothing.
  kTooSlow = 4,      // One of several sinks, which takes less than is encoded.
};

// Why an output broke off: "cannot write out/big.mp4: No space left on device".
using WriteError = Failure<WriteErrorKind>;

}  // namespace movra::media

#endif  // MOVRA_MEDIA_OUTPUT_WRITE_ERROR_H_
