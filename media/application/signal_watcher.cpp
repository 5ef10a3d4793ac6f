#include "media/application/signal_watcher.h"

#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <utility>

namespace movra::media {
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

}  // namespace

void HoldBackSignals() {
  const sigset_t set = WatchedSignals();
  pthread_sigmask(SIG_BLOCK, &set, nullptr);
  signal(SIGPIPE, SIG_IGN);
  signal(SIGXFSZ, SIG_IGN);
}

SignalWatcher::SignalWatcher(std::function<void(int)> on_first)
    : on_first_(std::move(on_first)), thread_([this] { Watch(); }) {}

SignalWatcher::~SignalWatcher() {
  stopping_ = true;
  // For that thread alone; one of those it waits for already.
  pthread_kill(thread_.native_handle(), SIGINT);
  thread_.join();
}

void SignalWatcher::Watch() {
  const sigset_t set = WatchedSignals();
  for (bool first = true;;) {
    const int number = sigwaitinfo(&set, nullptr);
    if (stopping_) return;
    if (number < 0) continue;  // Another signal interrupted it.
    if (!first) _exit(128 + number);
    first = false;
    on_first_(number);
  }
}

}  // namespace movra::media
