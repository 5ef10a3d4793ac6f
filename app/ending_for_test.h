// The table of the ways in which a run of the program can end: a row says what is typed, where and
// what happens meanwhile, and what a person then reads, gets as exit code and finds on the disk.

#ifndef MOVRA_APP_ENDING_FOR_TEST_H_
#define MOVRA_APP_ENDING_FOR_TEST_H_

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "app/process_for_test.h"
#include "app/program_for_test.h"

namespace movra::app {

// What a row can reach while it is tried: an empty directory with the program in it.
class EndingRun {
 public:
  EndingRun(const media::TemporaryDirectory& directory, const media::ClipDirectory& clips);
  ~EndingRun();
  EndingRun(const EndingRun&) = delete;
  EndingRun& operator=(const EndingRun&) = delete;

  [[nodiscard]] std::string Path(const std::string& name) const { return directory_ / name; }
  // "DIR" stands for the directory. Sources that are named in it, such as "DIR/CLIP.mp4", are made.
  [[nodiscard]] std::string Filled(std::string word);

  // The row's program begins; it was not begun before.
  void Start(const std::vector<std::string>& words, const std::function<void()>& in_child);
  // Another run of the program, to its end or until it has written something.
  [[nodiscard]] ProcessResult RunAnother(const std::vector<std::string>& words);
  void StartAnother(const std::vector<std::string>& words);

  [[nodiscard]] Process& process() { return *process_; }
  [[nodiscard]] Process& other() { return *other_; }

  // Wait with a bounded patience, and fail the test when it is over.
  void WaitForBytes(const std::string& file, std::uintmax_t bytes) const;
  void WaitForFile(const std::string& file) const;
  void WaitForText(const std::string& text) const;  // On the program's standard error.

  // Makes the named pipe "pipe", for the program to read. The other end, once it does, which takes
  // what is written as fast as the program reads it; closed when the run is over.
  void MakeSourcePipe() const;
  [[nodiscard]] int OpenSourcePipe();
  [[nodiscard]] int source_pipe() const { return pipe_[1]; }
  void CloseSourcePipe();

  // Puts a file system of so many bytes, with other options of mount, on the directory "disk".
  // Returns why that was refused, or nothing.
  [[nodiscard]] std::string MountDisk(const std::string& options, unsigned long flags = 0);

  // Makes the program's standard output a pipe; its reading end.
  [[nodiscard]] int OpenPipe();
  [[nodiscard]] int pipe() const { return pipe_[0]; }
  void WaitForFullPipe() const;
  void ClosePipe();
  // Closes the descriptor when the run is over.
  void KeepOpen(int descriptor) { pipe_[0] = descriptor; }

  std::string note;  // What a row did by chance, for the message of a failure.

 private:
  void MakeSource(const std::string& name);

  const media::TemporaryDirectory& directory_;
  const media::ClipDirectory& clips_;
  std::unique_ptr<Process> process_;
  std::unique_ptr<Process> other_;
  bool mounted_ = false;
  int pipe_[2] = {-1, -1};
};

// A stream that a run leaves behind: it plays to its end, and its frames are those of the source
// from the first one on, without a gap.
struct LeftBehind {
  std::string file;
  std::size_t at_least = 1;  // Frames; with 0 the file may be missing or empty.
  std::uint32_t step = 1;    // From one frame's number to the next; 0: whatever they are.
};

struct Ending {
  std::string name;
  std::vector<std::string> words;  // Of the command line, see EndingRun::Filled.
  int code = 0;                    // Minus the signal for a run that a signal ends.
  std::string says;                // In a line of standard error.

  // Nothing: whatever it left is there unchanged, and the line stands alone.
  std::vector<LeftBehind> leaves{};

  // Before: answers why this cannot be tried here, or nothing.
  std::function<std::string(EndingRun&)> prepare{};
  std::function<void()> in_child{};  // Where the program runs; called in the new process.
  std::function<void(EndingRun&)> meanwhile{};
};

// For Ending::in_child: takes from root what would let it read and write everything.
void DropTheRightsOfRoot();

// For Ending::prepare: why the program cannot do with little memory or few descriptors, or nothing.
[[nodiscard]] std::string WhyLimitsAreTooNarrow();

// The rows, by concern.
[[nodiscard]] std::vector<Ending> EndingsOfWhatWasTyped();
[[nodiscard]] std::vector<Ending> EndingsOfSources();
[[nodiscard]] std::vector<Ending> EndingsOfOutputs();
[[nodiscard]] std::vector<Ending> EndingsOfProcesses();

}  // namespace movra::app

#endif  // MOVRA_APP_ENDING_FOR_TEST_H_
