#ifndef MOVRA_MEDIA_CAPTURE_DETACHED_THREAD_H_
#define MOVRA_MEDIA_CAPTURE_DETACHED_THREAD_H_

#include "base/once_callback.h"

namespace movra::media {

// Starts a thread that nobody joins, because nobody may wait for what it does: a device, a disk or
// the other end of a pipe. Everything that the body uses belongs to the body. False, with the body
// destroyed unrun, when the system has no thread left.
//
// Debuggers show the name, of at most 15 characters. Any thread.
[[nodiscard]] bool StartDetachedThread(const char* name, movra_base::OnceClosure body);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_CAPTURE_DETACHED_THREAD_H_
