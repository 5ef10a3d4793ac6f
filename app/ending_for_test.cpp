#include "app/ending_for_test.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <poll.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "media/sanitizer_for_test.h"

namespace movra::app {
namespace {

namespace fs = std::filesystem;

// Overwrites bytes in the middle of the file.
void Damage(const std::string& path) {
  const auto size = static_cast<std::streamoff>(fs::file_size(path));
  std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
  file.seekp(size / 2);
  file << std::string(static_cast<std::size_t>(size / 20), '\xA5');
}

bool Put(const char* file, const std::string& text) {
  return static_cast<bool>(std::ofstream(file) << text << std::flush);
}

// A place of this process's own where it may mount; nothing of it is seen outside.
bool EnterMountNamespace() {
  static const bool entered = [] {
    const std::string uid = std::to_string(geteuid());
    const std::string gid = std::to_string(getegid());
    if (geteuid() == 0) {
      if (unshare(CLONE_NEWNS) != 0) return false;
    } else if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0 || !Put("/proc/self/setgroups", "deny") ||
               !Put("/proc/self/uid_map", uid + " " + uid + " 1") ||
               !Put("/proc/self/gid_map", gid + " " + gid + " 1")) {
      return false;
    }
    return mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
  }();
  return entered;
}

Process::Options Program(const std::string& directory, std::vector<std::string> words) {
  words.insert(words.begin(), MOVRA_PRODUCER_BINARY);
  return {.words = std::move(words), .directory = directory};
}

}  // namespace

EndingRun::EndingRun(const media::TemporaryDirectory& directory, const media::ClipDirectory& clips)
    : directory_(directory), clips_(clips) {}

EndingRun::~EndingRun() {
  ClosePipe();
  if (pipe_[1] >= 0) close(pipe_[1]);
  if (mounted_) umount2(Path("disk").c_str(), MNT_DETACH);
}

std::string EndingRun::Filled(std::string word) {
  const std::size_t at = word.find("DIR");
  if (at == std::string::npos) return word;
  MakeSource(word.substr(at + 4 <= word.size() ? at + 4 : word.size()));
  return word.replace(at, 3, directory_.path().string());
}

void EndingRun::MakeSource(const std::string& name) {
  const auto encoded = [&](int frames, video::Size size, const std::string& arguments) {
    fs::create_directories(fs::path(Path(name)).parent_path());
    const std::string clip =
        clips_.Make("clip" + fs::path(name).extension().string(),
                    "-c:v libx264 -preset ultrafast " + arguments, frames, size);
    fs::copy_file(clip, Path(name));
  };
  const auto halved = [&] { fs::resize_file(Path(name), fs::file_size(Path(name)) / 2); };
  std::error_code error;
  if (fs::exists(Path(name), error)) return;
  if (name == "CLIP.mp4" || name == "UNREADABLE.mp4") encoded(5, {64, 64}, "");
  if (name == "CLIP.y4m" || name == "BROKEN.y4m")
    fs::copy_file(clips_.Make("clip.y4m", "", 60, {320, 180}), Path(name));
  if (name == "UNREADABLE.mp4") fs::permissions(Path(name), fs::perms::none);
  if (name == "a clip, Führungs клип 你好.mp4") encoded(30, {640, 360}, "");
  if (name == "DAMAGED.mp4" || name == "DAMAGED.ts") encoded(60, {640, 360}, "-g 10");
  if (name == "DAMAGED.mp4" || name == "DAMAGED.ts") Damage(Path(name));
  if (name == "BROKEN.mp4") encoded(60, {640, 360}, "-movflags +faststart");
  if (name == "BROKEN.mkv") encoded(60, {640, 360}, "");
  if (name.starts_with("BROKEN.")) halved();
}

void EndingRun::Start(const std::vector<std::string>& words,
                      const std::function<void()>& in_child) {
  Process::Options options = Program(directory_.path().string(), words);
  options.in_child = in_child;
  options.out = pipe_[1];
  process_ = std::make_unique<Process>(options);
}

ProcessResult EndingRun::RunAnother(const std::vector<std::string>& words) {
  return RunProcess(Program(directory_.path().string(), words));
}

void EndingRun::StartAnother(const std::vector<std::string>& words) {
  other_ = std::make_unique<Process>(Program(directory_.path().string(), words));
}

void EndingRun::WaitForBytes(const std::string& file, std::uintmax_t bytes) const {
  EXPECT_TRUE(WaitUntil([&] {
    std::error_code error;
    const auto size = fs::file_size(Path(file), error);
    return !error && size >= bytes;
  })) << file;
}

void EndingRun::WaitForFile(const std::string& file) const {
  EXPECT_TRUE(WaitUntil([&] { return fs::exists(Path(file)); })) << file;
}

void EndingRun::WaitForText(const std::string& text) const {
  EXPECT_TRUE(WaitUntil([&] { return process_->Said().find(text) != std::string::npos; })) << text;
}

std::string EndingRun::MountDisk(const std::string& options, unsigned long flags) {
  fs::create_directory(Path("disk"));
  if (!EnterMountNamespace() ||
      mount("tmpfs", Path("disk").c_str(), "tmpfs", flags, options.c_str()) != 0) {
    return std::string("no file system may be mounted here: ") + std::strerror(errno);
  }
  mounted_ = true;
  return "";
}

void EndingRun::MakeSourcePipe() const {
  EXPECT_EQ(mkfifo(Path("pipe").c_str(), 0600), 0);
  signal(SIGPIPE, SIG_IGN);  // Writing fails if the program has ended.
}

int EndingRun::OpenSourcePipe() {
  // Without a reader this fails.
  const int flags = O_WRONLY | O_NONBLOCK | O_CLOEXEC;
  EXPECT_TRUE(WaitUntil([&] { return (pipe_[1] = open(Path("pipe").c_str(), flags)) >= 0; }));
  fcntl(pipe_[1], F_SETFL, 0);
  return pipe_[1];
}

void EndingRun::CloseSourcePipe() {
  close(pipe_[1]);
  pipe_[1] = -1;
}

int EndingRun::OpenPipe() {
  EXPECT_EQ(pipe2(pipe_, O_CLOEXEC), 0);
  return pipe_[0];
}

void EndingRun::WaitForFullPipe() const {
  EXPECT_TRUE(WaitUntil([&] {
    pollfd room{pipe_[1], POLLOUT, 0};
    return poll(&room, 1, 0) == 0;
  }));
}

void EndingRun::ClosePipe() {
  if (pipe_[0] >= 0) close(pipe_[0]);
  pipe_[0] = -1;
}

void DropTheRightsOfRoot() {
  // The new program has of them what is left in the bounding set.
  prctl(PR_CAPBSET_DROP, CAP_DAC_OVERRIDE);
  prctl(PR_CAPBSET_DROP, CAP_DAC_READ_SEARCH);
}

std::string WhyLimitsAreTooNarrow() {
  return media::kIsSanitized ? "a sanitizer reserves more memory than any limit" : "";
}

}  // namespace movra::app
