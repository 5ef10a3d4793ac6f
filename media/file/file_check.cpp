#include "media/file/file_check.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace movra::media {
namespace {

FileCheck FromErrno(const std::string& path, int error) {
  switch (error) {
    case ENOENT:
    case ENOTDIR:
      return {CameraError::kNoSuchFile, "there is no file '" + path + "'"};
    case EACCES:
    case EPERM:
      return {CameraError::kNoPermission, "no permission to read '" + path + "'"};
    default:
      return {CameraError::kCannotOpen,
              "'" + path + "' cannot be opened (" + std::generic_category().message(error) + ")"};
  }
}

}  // namespace

FileCheck CheckReadableFile(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) return FromErrno(path, errno);
  if (S_ISDIR(status.st_mode)) {
    return {CameraError::kNotAFile, "'" + path + "' is a directory, not a video file"};
  }
  if (S_ISFIFO(status.st_mode)) {
    if (access(path.c_str(), R_OK) != 0) return FromErrno(path, errno);
    return {CameraError::kNone, "", true};
  }
  if (!S_ISREG(status.st_mode))
    return {CameraError::kNotAFile, "'" + path + "' is not a regular file"};
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (file < 0) return FromErrno(path, errno);
  close(file);
  if (status.st_size == 0) return {CameraError::kEmptyFile, "'" + path + "' is empty"};
  return {};
}

}  // namespace movra::media
