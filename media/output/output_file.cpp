#include "media/output/output_file.h"

#include <fcntl.h>
#include <limits.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstring>
#include <utility>

namespace movra::media {
namespace {

using std::chrono::steady_clock;

constexpr mode_t kMode = 0666;  // Less what the process's mask takes away.
constexpr char kStandardOutput[] = "-";

std::string NameOf(const std::string& path) {
  return path == kStandardOutput ? "standard output" : path;
}

std::string Explain(const char* what, const std::string& path, int error_number) {
  return std::string("cannot ") + what + " " + NameOf(path) + ": " + std::strerror(error_number);
}

WriteErrorKind KindOf(int error_number) {
  switch (error_number) {
    case EPIPE:
    case ECONNRESET:
      return WriteErrorKind::kClosedPipe;
    case ENOSPC:
    case EDQUOT:
      return WriteErrorKind::kDiskFull;
    default:
      return WriteErrorKind::kFailed;
  }
}

bool IsRegularFile(const std::string& path) {
  struct stat status {};
  // What is there and cannot be looked at is taken for a file, which is the careful side.
  return stat(path.c_str(), &status) != 0 || S_ISREG(status.st_mode);
}

// As poll counts them: rounded up, and -1 for a limit that never comes.
int MillisecondsUntil(steady_clock::time_point limit) {
  if (limit == steady_clock::time_point::max()) return -1;
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(limit - steady_clock::now());
  return static_cast<int>(std::clamp<std::int64_t>(left.count(), 0, INT_MAX));
}

struct Opened {
  int fd = -1;
  bool made = false;
};

// Sets errno on a failure; EEXIST only for what must not be overwritten.
Opened OpenPath(const std::string& path, bool overwrite) {
  if (path == kStandardOutput) return {fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3), false};
  // A named pipe without a reader would block the open; it fails instead.
  constexpr int kFlags = O_WRONLY | O_CLOEXEC | O_NONBLOCK;
  const int made = open(path.c_str(), kFlags | O_CREAT | O_EXCL, kMode);
  if (made >= 0 || errno != EEXIST) return {made, made >= 0};
  if (!overwrite && IsRegularFile(path)) {
    errno = EEXIST;
    return {};
  }
  return {open(path.c_str(), kFlags), false};
}

// Whether the path still names the open file.
bool IsNamed(int fd, const std::string& path) {
  struct stat own {};
  struct stat named {};
  return fstat(fd, &own) == 0 && stat(path.c_str(), &named) == 0 && own.st_dev == named.st_dev &&
         own.st_ino == named.st_ino;
}

// Whether somebody else writes the file, or wrote it and took it away just now. The lock goes with
// the descriptor; where a file system has none, nobody is known to write.
bool IsTaken(int fd, const std::string& path) {
  struct stat status {};
  if (fstat(fd, &status) != 0 || !S_ISREG(status.st_mode)) return false;
  const bool is_locked = flock(fd, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
  return is_locked || !IsNamed(fd, path);
}

}  // namespace

std::unique_ptr<OutputFile> OutputFile::Open(const std::string& path, bool overwrite,
                                             std::string& error) {
  const Opened opened = OpenPath(path, overwrite);
  if (opened.fd < 0) {
    error = errno == EEXIST ? path + " exists already and is not to be overwritten"
                            : Explain("write", path, errno);
    return nullptr;
  }
  if (path != kStandardOutput) {
    fcntl(opened.fd, F_SETFL, 0);
    if (IsTaken(opened.fd, path)) {
      close(opened.fd);
      error = "cannot write " + path + ": another run is writing it; write elsewhere";
      return nullptr;
    }
  }
  const int wake_fd = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  if (wake_fd < 0) error = Explain("write", path, errno);
  std::unique_ptr<OutputFile> file(new OutputFile(path, opened.fd, wake_fd, opened.made));
  return wake_fd < 0 ? nullptr : std::move(file);
}

OutputFile::OutputFile(std::string path, int fd, int wake_fd, bool made)
    : path_(std::move(path)), fd_(fd), wake_fd_(wake_fd), made_(made) {
  struct stat status {};
  regular_ = fstat(fd_, &status) == 0 && S_ISREG(status.st_mode);
  // Standard output may stand in the middle of a file that is somebody else's.
  seekable_ = regular_ && path_ != kStandardOutput;
}

OutputFile::~OutputFile() {
  Close();
  if (fd_ >= 0) close(fd_);
  if (wake_fd_ >= 0) close(wake_fd_);
}

void OutputFile::Close() {
  if (std::exchange(closed_, true)) return;
  RemoveIfEmpty();
  // A file stays this run's until all is over: it is still to be looked at.
  if (!regular_) close(std::exchange(fd_, -1));
}

bool OutputFile::Write(const std::uint8_t* data, std::size_t size) {
  if (error_.has_value() || closed_) return false;
  if (!std::exchange(begun_, true) && seekable_ && ftruncate(fd_, 0) != 0) {
    return Fail("write", errno);
  }
  while (size > 0) {
    const std::size_t part = regular_ ? size : WaitForReader(size);
    if (part == 0) return false;
    const ssize_t written = write(fd_, data, part);
    if (written < 0) {
      if (errno == EINTR || errno == EAGAIN) continue;
      return Fail("write", errno);
    }
    data += written;
    size -= static_cast<std::size_t>(written);
    position_ += static_cast<std::uint64_t>(written);
    bytes_written_ = std::max<std::uint64_t>(bytes_written_, position_);
  }
  return true;
}

bool OutputFile::Seek(std::int64_t position) {
  if (error_.has_value() || closed_) return false;
  if (lseek(fd_, position, SEEK_SET) < 0) return Fail("move within", errno);
  position_ = static_cast<std::uint64_t>(position);
  return true;
}

void OutputFile::LimitWaits(std::chrono::milliseconds patience) {
  const auto limit = steady_clock::now() + patience;
  auto current = wait_limit_.load();
  while (limit < current && !wait_limit_.compare_exchange_weak(current, limit)) {
  }
  // Cannot fail: the counter is far from its end.
  eventfd_write(wake_fd_, 1);
}

bool OutputFile::Fail(const char* what, int error_number) {
  error_ = WriteError{KindOf(error_number), Explain(what, path_, error_number)};
  CutBackToWhole();
  return false;
}

void OutputFile::CutBackToWhole() {
  // Best effort: a file that cannot be cut either is left as it is.
  if (!seekable_ || !begun_ || ftruncate(fd_, static_cast<off_t>(whole_)) != 0) return;
  bytes_written_ = whole_;
}

std::size_t OutputFile::WaitForReader(std::size_t size) {
  std::array<pollfd, 2> waits{{{fd_, POLLOUT, 0}, {wake_fd_, POLLIN, 0}}};
  waits_for_reader_ = true;
  int ready = 0;
  do {
    eventfd_t changed = 0;
    if (waits[1].revents != 0) eventfd_read(wake_fd_, &changed);
    ready = poll(waits.data(), waits.size(), MillisecondsUntil(wait_limit_));
  } while ((ready > 0 && waits[0].revents == 0) || (ready < 0 && errno == EINTR));
  waits_for_reader_ = false;
  // A pipe that reports room takes this much without blocking; an error shows in the write.
  if (ready > 0) return std::min<std::size_t>(size, PIPE_BUF);
  if (ready < 0) {
    Fail("write", errno);
  } else {
    error_ = WriteError{WriteErrorKind::kInterrupted,
                        "broke off writing " + NameOf(path_) + ": its reader takes nothing"};
  }
  return 0;
}

void OutputFile::RemoveIfEmpty() const {
  if (!made_ || bytes_written_ > 0) return;
  // The path may be another file's by now.
  if (IsNamed(fd_, path_)) unlink(path_.c_str());
}

}  // namespace movra::media
