#include "app/whole_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>

namespace movra::app {
namespace {

std::string Explain(const std::string& path, int error) {
  return "'" + path + "': " + std::generic_category().message(error);
}

}  // namespace

std::string WriteWholeFile(const std::string& path, bool overwrite,
                           const std::function<std::string(const std::string& name)>& write) {
  std::error_code unknown;
  const auto status = std::filesystem::symlink_status(path, unknown);
  if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
    return write(path);
  }
  if (!overwrite) {
    // The empty file keeps the name for what comes.
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (file < 0) return Explain(path, errno);
    close(file);
  }
  const std::string name = path + "." + std::to_string(getpid()) + ".part";
  std::string error = write(name);
  if (error.empty() && std::rename(name.c_str(), path.c_str()) != 0) error = Explain(path, errno);
  if (error.empty()) return error;
  std::remove(name.c_str());
  if (!overwrite) std::remove(path.c_str());
  return error;
}

}  // namespace movra::app
