#ifndef MOVRA_MEDIA_CAPTURE_DETACHED_THREAD_H_
#define MOVRA_MEDIA_CAPTURE_DETACHED_THREAD_H_

#include <chrono>

#include "base/once_callback.h"

namespace movra::media {

// Starts a thread that nobody joins, because nobody may wait for what it does: a device, a disk or
// the other end of a pipe. Everything that the body uses belongs to the body. False, with the body
// destroyed unrun, when the system has no thread left.
//
// Debuggers show the name, of at most 15 characters. Any thread.
[[nodiscard]] bool StartDetachedThread(const char* name, movra_base::OnceClosure body);

// Waits until all these threads have ended, or for as long as one is patient; returns whether they
// have. For the end of a process, which would take what they use from under them. Any thread but
// one of them.
bool WaitForDetachedThreads(std::chrono::nanoseconds patience);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_CAPTURE_DETACHED_THREAD_H_
