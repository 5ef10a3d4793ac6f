#include "media/camera/v4l2_io.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cerrno>

namespace movra::media {
namespace {

class SystemV4l2Io final : public V4l2Io {
 public:
  SystemV4l2Io() : stop_(eventfd(0, EFD_CLOEXEC)) {}
  ~SystemV4l2Io() override {
    if (device_ >= 0) close(device_);
    if (stop_ >= 0) close(stop_);
  }

  // V4l2Io
  [[nodiscard]] int Open(const std::string& path) override {
    if (stop_ < 0) return EMFILE;  // Nothing could end a wait.
    if (device_ >= 0) close(device_);
    device_ = open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    return device_ < 0 ? errno : 0;
  }

  [[nodiscard]] int Control(unsigned long request, void* argument) override {
    while (ioctl(device_, request, argument) != 0) {
      if (errno != EINTR) return errno;
    }
    return 0;
  }

  [[nodiscard]] void* Map(std::size_t length, std::int64_t offset) override {
    void* const memory = mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_SHARED, device_, offset);
    return memory == MAP_FAILED ? nullptr : memory;
  }

  void Unmap(void* memory, std::size_t length) override { munmap(memory, length); }

  [[nodiscard]] bool WaitForFrame() override {
    std::array<pollfd, 2> files{{{device_, POLLIN, 0}, {stop_, POLLIN, 0}}};
    // Only a signal makes the wait fail, and then it is for the caller to wait again.
    static_cast<void>(poll(files.data(), files.size(), -1));
    return files[1].revents == 0;
  }

  // Cannot fail: the counter is far from its limit.
  void Interrupt() override { static_cast<void>(eventfd_write(stop_, 1)); }

 private:
  int device_ = -1;
  const int stop_;  // Readable once interrupted.
};

}  // namespace

std::unique_ptr<V4l2Io> MakeV4l2Io() { return std::make_unique<SystemV4l2Io>(); }

}  // namespace movra::media
