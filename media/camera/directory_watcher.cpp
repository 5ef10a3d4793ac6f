#include "media/camera/directory_watcher.h"

#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <system_error>
#include <utility>

namespace movra::media {

DirectoryWatcher::DirectoryWatcher(const std::string& directory, std::string prefix,
                                   std::function<void()> on_change)
    : prefix_(std::move(prefix)),
      on_change_(std::move(on_change)),
      events_(inotify_init1(IN_CLOEXEC | IN_NONBLOCK)),
      stop_(eventfd(0, EFD_CLOEXEC)) {
  if (events_ < 0 || stop_ < 0) return;
  // Rights are watched too: a device node is made first and becomes readable a moment later.
  constexpr std::uint32_t kChanges =
      IN_CREATE | IN_DELETE | IN_MOVED_TO | IN_MOVED_FROM | IN_ATTRIB;
  if (inotify_add_watch(events_, directory.c_str(), kChanges | IN_ONLYDIR) < 0) return;
  try {
    thread_ = std::thread([this] { Run(); });
  } catch (const std::system_error&) {  // There is none to be had; so nothing is watched.
  }
}

DirectoryWatcher::~DirectoryWatcher() {
  if (thread_.joinable()) {
    // Cannot fail: the counter is far from its limit.
    static_cast<void>(eventfd_write(stop_, 1));
    thread_.join();
  }
  if (events_ >= 0) close(events_);
  if (stop_ >= 0) close(stop_);
}

void DirectoryWatcher::Run() {
  pthread_setname_np(pthread_self(), "device-watch");
  for (;;) {
    std::array<pollfd, 2> files{{{events_, POLLIN, 0}, {stop_, POLLIN, 0}}};
    // Nothing but a signal that interrupts it makes the wait fail.
    if (poll(files.data(), files.size(), -1) < 0) continue;
    if (files[1].revents != 0) return;
    if (TakeEvents()) on_change_();
  }
}

bool DirectoryWatcher::TakeEvents() const {
  alignas(inotify_event) std::array<char, 4096> buffer;
  bool concerned = false;
  for (;;) {
    const ssize_t length = read(events_, buffer.data(), buffer.size());
    if (length <= 0) return concerned;
    for (std::size_t at = 0; at < static_cast<std::size_t>(length);) {
      inotify_event event;
      std::memcpy(&event, buffer.data() + at, sizeof event);
      const char* const name = buffer.data() + at + sizeof event;
      // An overflow of the queue has no name and may have swallowed one that concerns us.
      concerned = concerned || (event.mask & IN_Q_OVERFLOW) != 0 ||
                  (event.len > 0 && std::string_view(name).substr(0, prefix_.size()) == prefix_);
      at += sizeof event + event.len;
    }
  }
}

}  // namespace movra::media
