#include "app/console.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

namespace movra::app {
namespace {

constexpr char kEraseLine[] = "\r\033[K";

// A file's name may hold what a terminal would obey; lines may hold line ends.
std::string Printable(const std::string& text) {
  std::string printable;
  for (const char character : text) {
    const auto code = static_cast<unsigned char>(character);
    const bool is_control = (code < 0x20 && character != '\n') || code == 0x7F;
    if (!is_control) {
      printable += character;
      continue;
    }
    char escaped[8];
    std::snprintf(escaped, sizeof escaped, "\\x%02X", static_cast<unsigned>(code));
    printable += escaped;
  }
  return printable;
}

}  // namespace

Console::Console(int descriptor) : descriptor_(descriptor), is_terminal_(isatty(descriptor) == 1) {}

int Console::columns() const {
  winsize size{};
  const bool known = ioctl(descriptor_, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return known ? size.ws_col : 80;
}

void Console::Line(const std::string& text) {
  const std::lock_guard lock(mutex_);
  // One write, so that lines of several processes on one terminal do not run together.
  if (progress_.empty()) {
    Write(Printable(text) + "\n");
  } else {
    Write(kEraseLine + Printable(text) + "\n" + progress_);
  }
}

void Console::SetProgress(const std::string& text) {
  if (!is_terminal_) return;
  // The last column stays free: a terminal may break the line after it.
  const std::string shown = text.substr(0, static_cast<std::size_t>(columns() - 1));
  const std::lock_guard lock(mutex_);
  if (shown == progress_) return;
  progress_ = shown;
  Write(kEraseLine + shown);
}

void Console::Write(const std::string& text) const {
  for (std::size_t done = 0; done < text.size();) {
    const ssize_t written = write(descriptor_, text.data() + done, text.size() - done);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return;
    done += static_cast<std::size_t>(written);
  }
}

}  // namespace movra::app
