#include "app/console.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <string>

namespace movra::app {
namespace {

// What can be read off a descriptor without waiting.
std::string Drain(int descriptor) {
  fcntl(descriptor, F_SETFL, O_NONBLOCK);
  std::string text;
  char buffer[4096];
  for (ssize_t n; (n = read(descriptor, buffer, sizeof buffer)) > 0;) {
    text.append(buffer, static_cast<std::size_t>(n));
  }
  return text;
}

class ConsoleOnPipe : public testing::Test {
 protected:
  ConsoleOnPipe() { EXPECT_EQ(pipe(ends_), 0); }
  ~ConsoleOnPipe() override {
    close(ends_[0]);
    close(ends_[1]);
  }
  int ends_[2] = {-1, -1};
};

class ConsoleOnTerminal : public testing::Test {
 protected:
  ConsoleOnTerminal() {
    EXPECT_EQ(openpty(&master_, &terminal_, nullptr, nullptr, nullptr), 0);
    termios settings{};
    tcgetattr(terminal_, &settings);
    cfmakeraw(&settings);  // No "\r" added to each line end.
    tcsetattr(terminal_, TCSANOW, &settings);
    SetColumns(20);
  }
  ~ConsoleOnTerminal() override {
    close(terminal_);
    close(master_);
  }
  void SetColumns(unsigned short columns) {
    winsize size{};
    size.ws_col = columns;
    ioctl(terminal_, TIOCSWINSZ, &size);
  }
  int master_ = -1;
  int terminal_ = -1;
};

TEST_F(ConsoleOnPipe, ShowsLinesAndNoProgress) {
  Console console(ends_[1]);
  EXPECT_FALSE(console.is_terminal());
  console.SetProgress("half way");
  console.Line("done");
  console.SetProgress("");
  EXPECT_EQ(Drain(ends_[0]), "done\n");
}

TEST_F(ConsoleOnPipe, WhatATerminalWouldObeyIsSpeltOut) {
  Console console(ends_[1]);
  console.Line("cannot write a\x1B[31m\r\x7F\t\u00E9.mp4\nand more");
  EXPECT_EQ(Drain(ends_[0]), "cannot write a\\x1B[31m\\x0D\\x7F\\x09\u00E9.mp4\nand more\n");
}

TEST_F(ConsoleOnPipe, AReaderThatIsGoneIsIgnored) {
  Console console(ends_[1]);
  close(ends_[1]);
  console.Line("nobody reads this");
  ends_[1] = dup(ends_[0]);
}

TEST_F(ConsoleOnTerminal, ShowsProgressInPlace) {
  Console console(terminal_);
  EXPECT_TRUE(console.is_terminal());
  console.SetProgress("1 frame");
  console.SetProgress("2 frames");
  EXPECT_EQ(Drain(master_), "\r\033[K1 frame\r\033[K2 frames");
}

TEST_F(ConsoleOnTerminal, TheSameProgressIsNotWrittenAgain) {
  Console console(terminal_);
  console.SetProgress("1 frame");
  console.SetProgress("1 frame");
  EXPECT_EQ(Drain(master_), "\r\033[K1 frame");
}

TEST_F(ConsoleOnTerminal, ALineGoesAboveTheProgress) {
  Console console(terminal_);
  console.SetProgress("1 frame");
  Drain(master_);
  console.Line("note");
  EXPECT_EQ(Drain(master_), "\r\033[Knote\n1 frame");
  console.SetProgress("");
  console.Line("end");
  EXPECT_EQ(Drain(master_), "\r\033[Kend\n");
}

TEST_F(ConsoleOnTerminal, ProgressIsCutToTheWidthAsItIsNow) {
  Console console(terminal_);
  console.SetProgress("0123456789012345678901234567890");
  EXPECT_EQ(Drain(master_), "\r\033[K0123456789012345678");
  SetColumns(10);
  console.SetProgress("0123456789012345678901234567890");
  EXPECT_EQ(Drain(master_), "\r\033[K012345678");
}

}  // namespace
}  // namespace movra::app
