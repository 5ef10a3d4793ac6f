#include "media/application/signal_watcher.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <future>

#include "media/sanitizer_for_test.h"

namespace movra::media {
namespace {

// Each test runs in a process of its own: masks and signals belong to the process. It ends with 0
// if what it expected came true.
class SignalWatcherTest : public testing::Test {
 protected:
  SignalWatcherTest() { testing::FLAGS_gtest_death_test_style = "threadsafe"; }
};

int FirstSignalSeen(int number) {
  signal(number, SIG_DFL);  // Under nohup a hang-up is ignored, and that is inherited.
  HoldBackSignals();
  std::promise<int> seen;
  const SignalWatcher watcher([&](int signal) { seen.set_value(signal); });
  kill(getpid(), number);
  return seen.get_future().get();
}

TEST_F(SignalWatcherTest, TheFirstSignalIsReportedAndEndsNothing) {
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
    EXPECT_EXIT(_exit(FirstSignalSeen(number) == number ? 0 : 1), testing::ExitedWithCode(0), "");
  }
}

TEST_F(SignalWatcherTest, ASignalThatCameBeforeTheWatcherIsNotLost) {
  EXPECT_EXIT(
      {
        HoldBackSignals();
        kill(getpid(), SIGINT);
        std::promise<void> seen;
        const SignalWatcher watcher([&](int) { seen.set_value(); });
        seen.get_future().wait();
        _exit(0);
      },
      testing::ExitedWithCode(0), "");
}

TEST_F(SignalWatcherTest, TheSecondSignalEndsTheProcessAtOnce) {
  const auto send_two = [](int second) {
    HoldBackSignals();
    std::promise<void> seen;
    const SignalWatcher watcher([&](int) { seen.set_value(); });
    kill(getpid(), SIGINT);
    seen.get_future().wait();
    kill(getpid(), second);
    for (;;) pause();  // A thread that would never end by itself.
  };
  EXPECT_EXIT(send_two(SIGINT), testing::ExitedWithCode(130), "");
  EXPECT_EXIT(send_two(SIGTERM), testing::ExitedWithCode(143), "");
}

TEST_F(SignalWatcherTest, AnIgnoredHangUpStaysIgnored) {
  EXPECT_EXIT(
      {
        signal(SIGHUP, SIG_IGN);
        HoldBackSignals();
        std::promise<int> seen;
        const SignalWatcher watcher([&](int number) { seen.set_value(number); });
        kill(getpid(), SIGHUP);
        kill(getpid(), SIGTERM);
        _exit(seen.get_future().get() == SIGTERM ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

TEST_F(SignalWatcherTest, AClosedPipeIsAnErrorOfTheWrite) {
  EXPECT_EXIT(
      {
        HoldBackSignals();
        int ends[2];
        if (pipe(ends) != 0) _exit(1);
        close(ends[0]);
        _exit(write(ends[1], "x", 1) == -1 && errno == EPIPE ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

TEST_F(SignalWatcherTest, AFileThatMayNotGrowIsAnErrorOfTheWrite) {
  EXPECT_EXIT(
      {
        HoldBackSignals();
        const rlimit none{};
        setrlimit(RLIMIT_FSIZE, &none);
        const int file = memfd_create("full", 0);
        _exit(write(file, "x", 1) == -1 && errno == EFBIG ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

TEST_F(SignalWatcherTest, NeedsNoDescriptor) {
  if (kIsSanitized) GTEST_SKIP() << "the sanitizer needs descriptors of its own";
  EXPECT_EXIT(
      {
        HoldBackSignals();
        const rlimit none{};
        setrlimit(RLIMIT_NOFILE, &none);
        std::promise<int> seen;
        {
          const SignalWatcher watcher([&](int number) { seen.set_value(number); });
          kill(getpid(), SIGINT);
          seen.get_future().wait();
        }
        _exit(0);
      },
      testing::ExitedWithCode(0), "");
}

TEST_F(SignalWatcherTest, GoesQuietlyWithoutAnySignal) {
  EXPECT_EXIT(
      {
        HoldBackSignals();
        {
          const SignalWatcher watcher([](int) {});
        }
        _exit(0);
      },
      testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace movra::media
