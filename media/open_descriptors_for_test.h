#ifndef MOVRA_MEDIA_OPEN_DESCRIPTORS_FOR_TEST_H_
#define MOVRA_MEDIA_OPEN_DESCRIPTORS_FOR_TEST_H_

#include <algorithm>
#include <filesystem>
#include <map>
#include <string>
#include <system_error>

namespace movra::media {

// The process's descriptors and what each of them is, "/tmp/clip.mp4" or "pipe:[123]". Two of these
// are equal unless something was left open between them, or closed that was not opened.
[[nodiscard]] inline std::map<std::string, std::string> OpenDescriptors() {
  std::map<std::string, std::string> open;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    std::error_code error;
    const std::string target = std::filesystem::read_symlink(entry.path(), error).string();
    // The one that reads this very list.
    if (!target.ends_with("/fd")) open[entry.path().filename().string()] = target;
  }
  return open;
}

// Whether one of them is of that file.
[[nodiscard]] inline bool IsOpen(const std::string& path) {
  const auto open = OpenDescriptors();
  return std::any_of(open.begin(), open.end(),
                     [&path](const auto& descriptor) { return descriptor.second == path; });
}

}  // namespace movra::media

#endif  // MOVRA_MEDIA_OPEN_DESCRIPTORS_FOR_TEST_H_
