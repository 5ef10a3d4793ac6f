#include <memory>

#include "core/service_center.h"

struct Service {
  std::shared_ptr<Service> GetSelf() { return nullptr; }
  void Init() {}
};

void Register(const std::shared_ptr<Service>& service) {
#ifdef MOVRA_MISUSE
  const std::shared_ptr<void> untyped = service;  // Of what type it was, nobody can tell any more.
  core::ServiceCenter::Instance().SetService(core::ServiceId{9}, untyped);
#else
  core::ServiceCenter::Instance().SetService(core::ServiceId{9}, service);
#endif
}
