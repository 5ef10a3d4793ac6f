#include "testing/environment.h"

#include <cstdint>

#include "core/notification_center.h"
#include "core/service_center.h"
#include "logging/log_filter.h"
#include "logging/log_sink.h"
#include "video/camera_service.h"

namespace movra::testing {
namespace {

// As the thread manager: the same queue for the same pair while somebody uses it.
std::shared_ptr<SimulatedQueue> FindQueue(const World& world, core::BusinessID business,
                                          unsigned long key) {
  for (const QueueRequest& request : world.queue_requests) {
    if (request.business != business || request.key != key) continue;
    if (auto queue = request.queue.lock()) return queue;
  }
  return nullptr;
}

std::shared_ptr<core::DispatchQueue> MakeTaskQueue(
    World& world, const std::shared_ptr<SimulatedClock>& clock, core::BusinessID business,
    unsigned long key, const movra_base::Optional<core::ThreadOption>& option) {
  const bool has_option = option.has_value();
  world.journal()->Call("ThreadManager", "GetTaskQueue", business, key,
                        has_option ? option.value().name : "absent");
  std::shared_ptr<SimulatedQueue> queue = FindQueue(world, business, key);
  if (queue == nullptr) {
    const auto number = static_cast<std::int32_t>(business);
    queue = std::make_shared<SimulatedQueue>(world.UniqueName("queue" + std::to_string(number)),
                                             world.journal(), clock);
  }
  world.queue_requests.push_back({business, key, has_option, queue});
  return queue;
}

void ClearRegistries() {
  core::ServiceCenter::Instance().Clear();
  core::NotificationCenter::GetInstance().Clear();
}

}  // namespace

Environment::Environment()
    : main_queue_(std::make_shared<SimulatedQueue>("main_queue", world_.journal(), clock_)),
      log_(world_.journal()),
      previous_main_queue_(core::SetMainQueue(main_queue_)),
      previous_queue_factory_(core::ThreadManager::SetQueueFactory(
          [this](core::BusinessID business, unsigned long key, const auto& option) {
            return MakeTaskQueue(world_, clock_, business, key, option);
          })),
      previous_min_log_level_(movra_logging::MinLogLevel()),
      previous_value_filtering_(LogValueFiltering()) {
  ClearRegistries();
  movra_logging::SetMinLogLevel(movra_logging::kLogLevelInfo);
  SetLogValueFiltering(false);
}

Environment::~Environment() {
  // Tasks and services may hold what others registered, so they go while everything stands.
  main_queue_->DropAll();
  for (const QueueRequest& request : world_.queue_requests) {
    if (const auto queue = request.queue.lock()) queue->DropAll();
  }
  ClearRegistries();
  SetLogValueFiltering(previous_value_filtering_);
  movra_logging::SetMinLogLevel(previous_min_log_level_);
  core::ThreadManager::SetQueueFactory(previous_queue_factory_);
  core::SetMainQueue(previous_main_queue_);
}

CameraServiceDouble& Environment::MakeCameraService() {
  std::shared_ptr<video::ICameraService> service;
  core::ServiceCenter::Instance().GetService(video::kCameraServiceId, service);
  return world_.camera_services.Last();
}

void Environment::LoseCameraService() {
  world_.answers.makes_camera_service = false;
  core::ServiceCenter::Instance().SetService(video::kCameraServiceId, nullptr);
}

}  // namespace movra::testing
