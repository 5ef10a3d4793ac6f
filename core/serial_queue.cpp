#include "core/serial_queue.h"

#include <pthread.h>

#include "logging/guarded_call.h"

namespace core {
namespace {

// Linux takes a name of at most 15 characters and refuses a longer one.
constexpr std::size_t kMaxThreadName = 15;

}  // namespace

SerialQueue::SerialQueue(const std::string& name) : loop_(std::make_shared<TaskLoop>()) {
  thread_ = std::thread([loop = loop_, short_name = name.substr(0, kMaxThreadName)] {
    pthread_setname_np(pthread_self(), short_name.c_str());
    const auto whose = [&] { return "A task of the queue " + short_name; };
    while (!movra_logging::CallGuarded(whose, [&] { loop->Run(); })) {
    }
    loop->DestroyTasks();
  });
}

SerialQueue::~SerialQueue() {
  loop_->Quit();
  if (thread_.get_id() == std::this_thread::get_id()) {
    thread_.detach();
  } else {
    thread_.join();
  }
}

}  // namespace core
