// The directory that a run's files land in.

#ifndef MOVRA_APP_OUTPUT_DIRECTORY_H_
#define MOVRA_APP_OUTPUT_DIRECTORY_H_

#include <chrono>
#include <filesystem>
#include <optional>
#include <vector>

#include "app/result.h"

namespace movra::app {

// Below this one each run gets a new directory, unless it names one.
inline constexpr char kRunsDirectory[] = "movra-out";

// Makes a directory and, when it is destroyed, takes away those it made that stayed empty: a run
// that failed before it wrote anything leaves no trace. Main queue only.
class OutputDirectory {
 public:
  // Makes the directory, or a new one named after the time below kRunsDirectory if it is absent.
  // One that exists must be writable.
  [[nodiscard]] static Result<OutputDirectory> Make(const std::optional<std::string>& directory,
                                                    std::chrono::system_clock::time_point now);

  OutputDirectory(OutputDirectory&& other) noexcept;
  OutputDirectory& operator=(OutputDirectory&&) = delete;
  ~OutputDirectory();

  [[nodiscard]] const std::filesystem::path& path() const { return path_; }

  // Makes the directories that a file in this one needs, as in "DIR/sub/talk.mp4". They are taken
  // away like the directory itself.
  [[nodiscard]] std::optional<Failure> MakeParentOf(const std::filesystem::path& file);

  // Points "latest", beside a directory that got its name from the time, at this one. Best effort:
  // something else of that name is left alone.
  void PointLatestHere() const;

 private:
  OutputDirectory() = default;

  [[nodiscard]] std::optional<Failure> MakeAll(const std::filesystem::path& directory);

  std::filesystem::path path_;
  bool named_after_time_ = false;
  std::vector<std::filesystem::path> made_;  // Outer ones first.
};

// Why no file can be made in the directory, if so.
[[nodiscard]] std::optional<Failure> WhyNotWritable(const std::filesystem::path& directory);

}  // namespace movra::app

#endif  // MOVRA_APP_OUTPUT_DIRECTORY_H_
