#ifndef MOVRA_MEDIA_CAPTURE_RELEASE_H_
#define MOVRA_MEDIA_CAPTURE_RELEASE_H_

#include <functional>
#include <mutex>
#include <vector>

namespace movra::media {

// That something has been let go of: once, and for good. Any thread.
class Release {
 public:
  // Calls back when it is done, on the thread that does it; at once if it has been.
  void Then(std::function<void()> callback);

  // Calls whoever waits, with no lock held. Once.
  void Done();

 private:
  std::mutex mutex_;
  // Guarded by mutex_.
  bool done_ = false;
  std::vector<std::function<void()>> callbacks_;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_CAPTURE_RELEASE_H_
