#ifndef MOVRA_MEDIA_TEMPORARY_DIRECTORY_FOR_TEST_H_
#define MOVRA_MEDIA_TEMPORARY_DIRECTORY_FOR_TEST_H_

#include <stdlib.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>
#include <vector>

namespace movra::media {

// An empty directory of its own that goes with the object.
class TemporaryDirectory {
 public:
  TemporaryDirectory() {
    std::string name = (std::filesystem::temp_directory_path() / "movra-test-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) std::abort();
    path_ = name;
  }
  ~TemporaryDirectory() {
    std::error_code error;
    std::filesystem::remove_all(path_, error);
  }
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

  [[nodiscard]] const std::filesystem::path& path() const { return path_; }
  [[nodiscard]] std::string operator/(const std::string& name) const {
    return (path_ / name).string();
  }

  std::string Write(const std::string& name, const std::string& text) const {
    std::string file = *this / name;
    std::ofstream(file) << text;
    return file;
  }

  // The names of what is in it, sorted.
  [[nodiscard]] std::vector<std::string> Names() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(path_)) {
      names.push_back(entry.path().lexically_relative(path_).string());
    }
    std::sort(names.begin(), names.end());
    return names;
  }

 private:
  std::filesystem::path path_;
};

// Makes the directory the current one for a scope.
class WorkingDirectory {
 public:
  explicit WorkingDirectory(const std::filesystem::path& path)
      : previous_(std::filesystem::current_path()) {
    std::filesystem::current_path(path);
  }
  ~WorkingDirectory() { std::filesystem::current_path(previous_); }
  WorkingDirectory(const WorkingDirectory&) = delete;
  WorkingDirectory& operator=(const WorkingDirectory&) = delete;

 private:
  const std::filesystem::path previous_;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_TEMPORARY_DIRECTORY_FOR_TEST_H_
