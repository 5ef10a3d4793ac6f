// The process-wide registry of services.
//
// A service is found by its id and made on first demand:
//
//   std::shared_ptr<ICameraService> camera;
//   if (core::ServiceCenter::Instance().GetService(core::ServiceId{9}, camera)) camera->...
//
// A service type T offers two operations for the registry alone: `Init()`, called exactly once on a
// service that the registry has just made and before it is registered, and
// `std::shared_ptr<T> GetSelf()`, the service as it is handed out.
//
// Threads: no lock is taken; the main queue serialises all look-ups.

#ifndef MOVRA_CORE_SERVICE_CENTER_H_
#define MOVRA_CORE_SERVICE_CENTER_H_

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <unordered_map>
#include <utility>

namespace core {

struct ServiceId {
  std::int32_t value = 0;

  friend constexpr bool operator==(const ServiceId&, const ServiceId&) = default;
};

}  // namespace core

template <>
struct std::hash<core::ServiceId> {
  std::size_t operator()(const core::ServiceId& id) const noexcept {
    return static_cast<std::size_t>(id.value);
  }
};

namespace core {

class ServiceCenter {
 public:
  // The registry, which is never destroyed: services that must end before the process does are
  // released with `Clear`.
  [[nodiscard]] static ServiceCenter& Instance();

  // The factory of the service type T: a new service, not yet initialised, or null when there can
  // be none. Only declared. The header of each service type declares its specialisation and the
  // library that implements the type defines it, so that linking chooses the implementation. The
  // result must be made from a `std::shared_ptr<T>`, because it is converted back to one.
  template <class T>
  [[nodiscard]] static std::shared_ptr<void> MakeService();

  // Sets `out` to the service of this id, made and registered if there is none. Returns whether
  // there is a service; `out` is empty if not. What the service's operations throw passes through;
  // one whose `Init` threw is not registered.
  template <class T>
  bool GetService(const ServiceId& id, std::shared_ptr<T>& out) {
    out.reset();
    // Held, because a service may leave the registry while it is asked.
    std::shared_ptr<T> service;
    if (const auto entry = services_.find(id); entry != services_.end()) {
      service = std::static_pointer_cast<T>(entry->second);
    }
    if (service == nullptr) {
      service = std::static_pointer_cast<T>(MakeService<T>());
      if (service == nullptr) return false;
      service->Init();
      services_[id] = service;
    }
    out = service->GetSelf();
    return out != nullptr;
  }

  // Registers a service that the process made itself, in place of the one that is there; the
  // registry does not initialise it. It is kept as what its `GetSelf` gives, which is the type that
  // is looked up, so a pointer to the class that implements it will do:
  //
  //   core::ServiceCenter::Instance().SetService(kCameraServiceId, std::make_shared<MyCameras>());
  //
  // A null service is the same as none. The one that was there ends before this returns, unless
  // somebody else holds it.
  template <class T>
  void SetService(const ServiceId& id, std::shared_ptr<T> service) {
    using Service = typename decltype(service->GetSelf())::element_type;
    Set(id, std::shared_ptr<Service>(std::move(service)));
  }
  void SetService(const ServiceId& id, std::nullptr_t) { Set(id, nullptr); }

  // Releases all services. The next look-up makes new ones.
  void Clear();

  ServiceCenter(const ServiceCenter&) = delete;
  ServiceCenter& operator=(const ServiceCenter&) = delete;

 private:
  ServiceCenter() = default;

  // `service` was made from a pointer to the type that is looked up.
  void Set(const ServiceId& id, std::shared_ptr<void> service);

  std::unordered_map<ServiceId, std::shared_ptr<void>> services_;
};

}  // namespace core

#endif  // MOVRA_CORE_SERVICE_CENTER_H_
