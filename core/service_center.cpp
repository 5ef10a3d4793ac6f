#include "core/service_center.h"

#include <utility>

namespace core {

ServiceCenter& ServiceCenter::Instance() {
  static auto* const instance = new ServiceCenter;
  return *instance;
}

void ServiceCenter::Set(const ServiceId& id, std::shared_ptr<void> service) {
  // The one that is replaced ends when this returns, with the registry already consistent.
  services_[id].swap(service);
}

void ServiceCenter::Clear() {
  // A service that ends may look others up.
  const auto services = std::exchange(services_, {});
}

}  // namespace core
