#include "app/process_for_test.h"

#include <fcntl.h>
#include <linux/close_range.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <thread>

namespace movra::app {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

std::string ContentOf(int file) {
  std::string content;
  char buffer[65536];
  for (ssize_t size;
       (size = pread(file, buffer, sizeof buffer, static_cast<off_t>(content.size()))) > 0;) {
    content.append(buffer, static_cast<std::size_t>(size));
  }
  return content;
}

[[noreturn]] void Become(const Process::Options& options, int out, int err) {
  // The test's own mask is no business of the program's.
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  dup2(open("/dev/null", O_RDONLY), STDIN_FILENO);
  dup2(out, STDOUT_FILENO);
  dup2(err, STDERR_FILENO);
  if (!options.directory.empty() && chdir(options.directory.c_str()) != 0) _exit(126);
  // Nor are the descriptors of whoever started the test: the program begins with three.
  close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC);
  if (options.in_child) options.in_child();
  std::vector<char*> words;
  for (const std::string& word : options.words) words.push_back(const_cast<char*>(word.c_str()));
  words.push_back(nullptr);
  execvp(words[0], words.data());
  _exit(127);
}

bool Has(std::uint64_t signals, int number) { return (signals >> (number - 1) & 1) != 0; }

}  // namespace

Process::Process(const Options& options)
    : out_(memfd_create("out", MFD_CLOEXEC)), err_(memfd_create("err", MFD_CLOEXEC)) {
  id_ = fork();
  if (id_ == 0) {
    Become(options, options.out < 0 ? out_ : options.out, options.err < 0 ? err_ : options.err);
  }
}

Process::~Process() {
  if (id_ > 0) {
    kill(id_, SIGKILL);
    waitpid(id_, nullptr, 0);
  }
  close(out_);
  close(err_);
}

void Process::Signal(int number) const { kill(id_, number); }

void Process::Pause() const {
  kill(id_, SIGSTOP);
  waitpid(id_, nullptr, WUNTRACED);
}

std::string Process::Said() const { return ContentOf(err_); }

bool Process::HoldsBack(int number) const {
  const std::uint64_t blocked = Signals("SigBlk");
  return Has(blocked, number) && !Has(blocked, SIGUSR1);
}

bool Process::HasPending(int number) const { return Has(Signals("ShdPnd"), number); }

std::uint64_t Process::Signals(const std::string& set) const {
  std::ifstream status("/proc/" + std::to_string(id_) + "/status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind(set + ":", 0) != 0) continue;
    return std::stoull(line.substr(set.size() + 1), nullptr, 16);
  }
  return 0;
}

ProcessResult Process::Wait(std::chrono::seconds longest) {
  int status = 0;
  const auto deadline = steady_clock::now() + longest;
  while (waitpid(id_, &status, WNOHANG) == 0) {
    if (steady_clock::now() > deadline) kill(id_, SIGKILL);
    std::this_thread::sleep_for(milliseconds(2));
  }
  id_ = -1;
  ProcessResult result;
  if (WIFEXITED(status)) result.exit_code = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) result.signal = WTERMSIG(status);
  result.out = ContentOf(out_);
  result.err = ContentOf(err_);
  return result;
}

ProcessResult RunProcess(const Process::Options& options) { return Process(options).Wait(); }

bool WaitUntil(const std::function<bool()>& is_so) {
  const auto deadline = steady_clock::now() + std::chrono::seconds(20);
  while (!is_so()) {
    if (steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(milliseconds(2));
  }
  return true;
}

}  // namespace movra::app
