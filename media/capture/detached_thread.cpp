#include "media/capture/detached_thread.h"

#include <pthread.h>

#include <system_error>
#include <thread>
#include <utility>

namespace movra::media {

bool StartDetachedThread(const char* name, movra_base::OnceClosure body) {
  try {
    std::thread([name, body = std::move(body)]() mutable {
      pthread_setname_np(pthread_self(), name);
      std::move(body).Run();
    }).detach();
  } catch (const std::system_error&) {
    return false;
  }
  return true;
}

}  // namespace movra::media
