#include "media/application/application.h"

#include <chrono>
#include <cstdio>
#include <utility>

#include "core/notification_center.h"
#include "core/service_center.h"
#include "media/capture/detached_thread.h"

namespace movra::media {

Application::SignalMask::SignalMask() {
  pthread_sigmask(SIG_BLOCK, nullptr, &before_);
  HoldBackSignals();
}

Application::SignalMask::~SignalMask() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

Application::InstalledQueue::InstalledQueue(std::shared_ptr<core::DispatchQueue> queue)
    : before_(core::SetMainQueue(std::move(queue))) {}

Application::InstalledQueue::~InstalledQueue() { core::SetMainQueue(before_); }

Application::Application() : watcher_([this](int /*number*/) { Quit(); }) {}

Application::~Application() {
  // A service that ends may still post, and subscribers may be told.
  core::ServiceCenter::Instance().Clear();
  core::NotificationCenter::GetInstance().Clear();
  constexpr std::chrono::seconds kPatience{1};
  WaitForDetachedThreads(kPatience);
}

void Application::Run() { main_queue_->Run(); }

void Application::Quit(const std::string& failure) {
  {
    const std::lock_guard lock(mutex_);
    if (failure_.empty()) failure_ = failure;
  }
  main_queue_->Quit();
}

std::string Application::failure() const {
  const std::lock_guard lock(mutex_);
  return failure_;
}

int Application::Finish() const {
  const std::string text = failure();
  if (text.empty()) return 0;
  static_cast<void>(std::fprintf(stderr, "%s\n", text.c_str()));
  return 1;
}

}  // namespace movra::media
