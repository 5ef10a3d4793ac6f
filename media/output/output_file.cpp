#include "media/output/output_file.h"

#include <fcntl.h>
#include <limits.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

namespace movra::media {
namespace {

constexpr mode_t kMode = 0666;  // Less what the process's mask takes away.
constexpr char kStandardOutput[] = "-";

std::string Explain(const char* what, const std::string& path, int error_number) {
  return std::string("cannot ") + what + " " +
         (path == kStandardOutput ? "standard output" : path) + ": " + std::strerror(error_number);
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

}  // namespace

std::unique_ptr<OutputFile> OutputFile::Open(const std::string& path, bool overwrite,
                                             std::string& error) {
  const Opened opened = OpenPath(path, overwrite);
  if (opened.fd < 0) {
    error = errno == EEXIST ? path + " exists already and is not to be overwritten"
                            : Explain("write", path, errno);
    return nullptr;
  }
  if (path != kStandardOutput) fcntl(opened.fd, F_SETFL, 0);
  const int wake_fd = eventfd(0, EFD_CLOEXEC);
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
  if (wake_fd_ >= 0) close(wake_fd_);
}

void OutputFile::Close() {
  if (fd_ < 0) return;
  RemoveIfEmpty();
  close(std::exchange(fd_, -1));
}

bool OutputFile::Write(const std::uint8_t* data, std::size_t size) {
  if (error_.has_value() || fd_ < 0) return false;
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
  if (error_.has_value() || fd_ < 0) return false;
  if (lseek(fd_, position, SEEK_SET) < 0) return Fail("move within", errno);
  position_ = static_cast<std::uint64_t>(position);
  return true;
}

void OutputFile::BreakOff() {
  break_off_ = true;
  const std::uint64_t one = 1;
  // Cannot fail: the counter is far from its end.
  static_cast<void>(!write(wake_fd_, &one, sizeof(one)));
}

bool OutputFile::Fail(const char* what, int error_number) {
  error_ = WriteError{KindOf(error_number), Explain(what, path_, error_number)};
  return false;
}

std::size_t OutputFile::WaitForReader(std::size_t size) {
  // A reader that is merely slow still gets the end of the stream.
  constexpr int kGraceMs = 200;
  while (true) {
    const bool break_off = break_off_;
    std::array<pollfd, 2> waits{{{fd_, POLLOUT, 0}, {wake_fd_, POLLIN, 0}}};
    const int ready = poll(waits.data(), break_off ? 1 : 2, break_off ? kGraceMs : -1);
    if (ready < 0 && errno != EINTR) {
      Fail("write", errno);
      return 0;
    }
    // A pipe that reports room takes this much without blocking; an error shows in the write.
    if (ready > 0 && waits[0].revents != 0) return std::min<std::size_t>(size, PIPE_BUF);
    if (ready == 0) {
      error_ = WriteError{WriteErrorKind::kInterrupted,
                          "broke off writing " + path_ + ": its reader takes nothing"};
      return 0;
    }
  }
}

void OutputFile::RemoveIfEmpty() const {
  if (!made_ || bytes_written_ > 0) return;
  struct stat own {};
  struct stat named {};
  // The path may be another file's by now.
  if (fstat(fd_, &own) == 0 && lstat(path_.c_str(), &named) == 0 && own.st_dev == named.st_dev &&
      own.st_ino == named.st_ino) {
    unlink(path_.c_str());
  }
}

}  // namespace movra::media
