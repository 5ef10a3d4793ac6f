// Runs the program as a person would.

#ifndef MOVRA_APP_PROCESS_FOR_TEST_H_
#define MOVRA_APP_PROCESS_FOR_TEST_H_

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace movra::app {

struct ProcessResult {
  int exit_code = -1;  // Of a process that ended by itself.
  int signal = 0;      // That ended it; 0 for none.
  std::string out;
  std::string err;
};

class Process {
 public:
  struct Options {
    std::vector<std::string> words{};  // The program and its arguments.
    std::string directory{};           // The working directory; empty: this process's.
    int out = -1;                      // Its standard output; -1: kept for the result.
    int err = -1;                      // Likewise.
    std::function<void()> in_child{};  // Called last before the program begins.
  };

  explicit Process(const Options& options);
  // Kills what still runs.
  ~Process();
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  void Signal(int number) const;

  // Stops it, all of its threads, where it is.
  void Pause() const;

  // Its standard error so far, if that is kept.
  [[nodiscard]] std::string Said() const;
  // Whether it blocks the signal, and not all of them, as its libraries do for a moment.
  [[nodiscard]] bool HoldsBack(int number) const;
  // Whether one has come that it has not taken yet.
  [[nodiscard]] bool HasPending(int number) const;

  // Waits for the end; kills it when that takes longer.
  ProcessResult Wait(std::chrono::seconds longest = std::chrono::seconds(90));

 private:
  // The signals of the set of that name, see proc(5), /proc/[pid]/status; number 1 is the lowest
  // bit.
  [[nodiscard]] std::uint64_t Signals(const std::string& set) const;

  pid_t id_ = -1;
  int out_ = -1;  // Unnamed files.
  int err_ = -1;
};

[[nodiscard]] ProcessResult RunProcess(const Process::Options& options);

// Asks again and again, at most for some seconds, until the answer is yes.
[[nodiscard]] bool WaitUntil(const std::function<bool()>& is_so);

}  // namespace movra::app

#endif  // MOVRA_APP_PROCESS_FOR_TEST_H_
