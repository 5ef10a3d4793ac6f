#include "app/output_directory.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ctime>
#include <string>
#include <system_error>
#include <utility>

namespace movra::app {
namespace {

namespace fs = std::filesystem;

Failure NotWritable(const fs::path& path, const std::string& why) {
  return {ExitCode::kDirectoryNotWritable,
          "directory '" + path.string() + "' " + why + "; choose another one with --out DIR"};
}

std::string TimeName(std::chrono::system_clock::time_point now) {
  const std::time_t time = std::chrono::system_clock::to_time_t(now);
  std::tm local{};
  localtime_r(&time, &local);
  char name[32];
  std::strftime(name, sizeof name, "%Y-%m-%d_%H-%M-%S", &local);
  return name;
}

// Of something that is there and is not one.
std::string WhyNoDirectory(const fs::path& path) {
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  // Links that go round in a circle lead nowhere.
  return fs::status_known(status) ? "is no directory" : "cannot be written: " + error.message();
}

}  // namespace

std::optional<Failure> WhyNotWritable(const fs::path& directory) {
  std::error_code error;
  const fs::file_status status = fs::status(directory, error);
  if (status.type() == fs::file_type::not_found) return NotWritable(directory, "does not exist");
  if (!fs::is_directory(status)) return NotWritable(directory, WhyNoDirectory(directory));
  if (access(directory.c_str(), W_OK | X_OK) != 0) {
    return NotWritable(directory, std::string("cannot be written: ") + std::strerror(errno));
  }
  return std::nullopt;
}

std::optional<Failure> OutputDirectory::MakeAll(const fs::path& directory) {
  fs::path so_far;
  for (const fs::path& part : directory) {
    so_far /= part;
    std::error_code error;
    std::error_code ignored;
    if (fs::create_directory(so_far, error)) {
      made_.push_back(so_far);
    } else if (error && !fs::is_directory(so_far, ignored)) {
      const bool exists = fs::exists(fs::symlink_status(so_far, ignored));
      return NotWritable(so_far,
                         exists ? WhyNoDirectory(so_far) : "cannot be made: " + error.message());
    }
  }
  return std::nullopt;
}

Result<OutputDirectory> OutputDirectory::Make(const std::optional<std::string>& directory,
                                              std::chrono::system_clock::time_point now) {
  OutputDirectory made;
  if (directory) {
    made.path_ = *directory;
    if (const auto failure = made.MakeAll(made.path_)) return *failure;
  } else {
    made.named_after_time_ = true;
    if (const auto failure = made.MakeAll(kRunsDirectory)) return *failure;
    // Two runs may begin in the same second: whoever makes the directory has it.
    const fs::path wanted = fs::path(kRunsDirectory) / TimeName(now);
    made.path_ = wanted;
    std::error_code error;
    for (int number = 2; !fs::create_directory(made.path_, error); ++number) {
      if (error) return NotWritable(made.path_, "cannot be made: " + error.message());
      made.path_ = wanted.string() + "-" + std::to_string(number);
    }
    made.made_.push_back(made.path_);
  }
  if (const auto failure = WhyNotWritable(made.path_)) return *failure;
  return made;
}

OutputDirectory::OutputDirectory(OutputDirectory&& other) noexcept
    : path_(std::move(other.path_)),
      named_after_time_(other.named_after_time_),
      made_(std::exchange(other.made_, {})) {}

OutputDirectory::~OutputDirectory() {
  // rmdir takes empty directories alone, which is the question that is asked here.
  for (auto made = made_.rbegin(); made != made_.rend(); ++made) rmdir(made->c_str());
}

std::optional<Failure> OutputDirectory::MakeParentOf(const fs::path& file) {
  return MakeAll((path_ / file).parent_path());
}

void OutputDirectory::PointLatestHere() const {
  if (!named_after_time_) return;
  const fs::path latest = path_.parent_path() / "latest";
  std::error_code error;
  const fs::file_status status = fs::symlink_status(latest, error);
  if (fs::exists(status) && !fs::is_symlink(status)) return;
  // Renamed into place, so that whoever follows the link at this moment finds one of the two.
  const fs::path made = path_.parent_path() / (".latest-" + std::to_string(getpid()));
  fs::create_directory_symlink(path_.filename(), made, error);
  if (error) return;
  fs::rename(made, latest, error);
  if (error) fs::remove(made, error);
}

}  // namespace movra::app
