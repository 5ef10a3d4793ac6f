// What a person watches: whole lines, and on a terminal one line of progress below them.

#ifndef MOVRA_APP_CONSOLE_H_
#define MOVRA_APP_CONSOLE_H_

#include <mutex>
#include <string>

namespace movra::app {

// Any thread: log lines come from all of them. Failures to write are ignored, because there is
// nobody left to tell.
class Console {
 public:
  // Writes to the descriptor, which stays the caller's.
  explicit Console(int descriptor);
  Console(const Console&) = delete;
  Console& operator=(const Console&) = delete;

  [[nodiscard]] bool is_terminal() const { return is_terminal_; }

  // The width of the terminal in characters, as it is now.
  [[nodiscard]] int columns() const;

  // Writes the text and a line end, above the progress; control characters as "\x1B".
  void Line(const std::string& text);

  // Replaces the progress, cut to the terminal's width; an empty text takes it away. Does nothing
  // where there is no terminal.
  void SetProgress(const std::string& text);

 private:
  void Write(const std::string& text) const;

  const int descriptor_;
  const bool is_terminal_;
  std::mutex mutex_;
  std::string progress_;  // Guarded by mutex_.
};

}  // namespace movra::app

#endif  // MOVRA_APP_CONSOLE_H_
