#ifndef MOVRA_MEDIA_CAMERA_DIRECTORY_WATCHER_H_
#define MOVRA_MEDIA_CAMERA_DIRECTORY_WATCHER_H_

#include <functional>
#include <string>
#include <thread>

namespace movra::media {

// Tells when entries of a directory whose names begin with a prefix come, go or change their
// rights. Several changes may be told as one.
//
// Made and destroyed on one thread. Where directories cannot be watched, or nothing is left to do
// it with, nothing is ever told.
class DirectoryWatcher {
 public:
  // `on_change` is called on a thread of the watcher's own, and not after its destruction.
  DirectoryWatcher(const std::string& directory, std::string prefix,
                   std::function<void()> on_change);
  ~DirectoryWatcher();
  DirectoryWatcher(const DirectoryWatcher&) = delete;
  DirectoryWatcher& operator=(const DirectoryWatcher&) = delete;

  // Whether the directory is being watched.
  [[nodiscard]] bool watching() const { return thread_.joinable(); }

 private:
  void Run();
  // Whether what has happened concerns an entry with the prefix.
  [[nodiscard]] bool TakeEvents() const;

  const std::string prefix_;
  const std::function<void()> on_change_;
  int events_ = -1;  // inotify
  int stop_ = -1;    // eventfd, readable once the thread is to end
  std::thread thread_;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_CAMERA_DIRECTORY_WATCHER_H_
