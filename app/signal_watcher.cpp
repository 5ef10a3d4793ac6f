#include "app/signal_watcher.h"

#include <poll.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <utility>

namespace movra::app {
namespace {

sigset_t WatchedSignals() {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGINT);
  sigaddset(&set, SIGTERM);
  struct sigaction hang_up {};
  sigaction(SIGHUP, nullptr, &hang_up);
  if (hang_up.sa_handler != SIG_IGN) sigaddset(&set, SIGHUP);
  return set;
}

int OpenSignals() {
  const sigset_t set = WatchedSignals();
  return signalfd(-1, &set, SFD_CLOEXEC);
}

}  // namespace

void HoldBackSignals() {
  const sigset_t set = WatchedSignals();
  pthread_sigmask(SIG_BLOCK, &set, nullptr);
  signal(SIGPIPE, SIG_IGN);
  signal(SIGXFSZ, SIG_IGN);
}

SignalWatcher::SignalWatcher(std::function<void(int)> on_first)
    : on_first_(std::move(on_first)),
      signals_(OpenSignals()),
      stop_(eventfd(0, EFD_CLOEXEC)),
      thread_([this] { Watch(); }) {}

SignalWatcher::~SignalWatcher() {
  eventfd_write(stop_, 1);
  thread_.join();
  close(stop_);
  close(signals_);
}

void SignalWatcher::Watch() {
  for (bool first = true;;) {
    pollfd waits[] = {{signals_, POLLIN, 0}, {stop_, POLLIN, 0}};
    if (poll(waits, 2, -1) < 0) continue;
    if (waits[1].revents != 0) return;
    signalfd_siginfo info{};
    if (read(signals_, &info, sizeof info) != sizeof info) continue;
    const int number = static_cast<int>(info.ssi_signo);
    if (!first) _exit(128 + number);
    first = false;
    on_first_(number);
  }
}

}  // namespace movra::app
