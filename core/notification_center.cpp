#include "core/notification_center.h"

#include <algorithm>

namespace core {

NotificationCenter& NotificationCenter::GetInstance() {
  static auto* const instance = new NotificationCenter;
  return *instance;
}

std::string NotificationCenter::GenerateEventId(const NotificationId& id,
                                                const std::string& event) {
  // A number has no colon, so the first one always ends the id, whatever the name is.
  return std::to_string(id.value) + ":" + event;
}

void NotificationCenter::UnsubscribeEvent(const NotificationId& id, const std::string& event,
                                          std::weak_ptr<void> subscriber) {
  const std::shared_ptr<void> leaving = subscriber.lock();
  if (leaving == nullptr) return;
  const auto entry = observers_.find(GenerateEventId(id, event));
  if (entry == observers_.end()) return;
  // Callbacks end when this returns and not before, because their end may come back to the
  // registry.
  std::list<Observer> removed;
  std::list<Observer>& observers = Writable(entry->second);
  for (auto it = observers.begin(); it != observers.end();) {
    const auto observer = it++;
    const std::shared_ptr<void> observing = observer->subscriber.lock();
    if (observing == nullptr || observing == leaving) {
      removed.splice(removed.end(), observers, observer);
    }
  }
  if (observers.empty()) observers_.erase(entry);
}

std::size_t NotificationCenter::ObserverCount(const NotificationId& id,
                                              const std::string& event) const {
  const auto entry = observers_.find(GenerateEventId(id, event));
  return entry == observers_.end() ? 0 : entry->second->size();
}

bool NotificationCenter::HasKey(const NotificationId& id, const std::string& event) const {
  return observers_.contains(GenerateEventId(id, event));
}

std::list<NotificationCenter::Observer> NotificationCenter::Observers(
    const NotificationId& id, const std::string& event) const {
  const auto entry = observers_.find(GenerateEventId(id, event));
  return entry == observers_.end() ? std::list<Observer>() : *entry->second;
}

void NotificationCenter::Clear() {
  // The end of a callback may come back to the registry.
  const auto observers = std::exchange(observers_, {});
}

std::string NotificationCenter::Describe(const Observer& observer) {
  return "The notification handler of " + std::string(observer.location.file()) + ":" +
         std::to_string(observer.location.line());
}

void NotificationCenter::Detach(const std::string& key, const Observer& observer) {
  const auto entry = observers_.find(key);
  if (entry == observers_.end()) return;
  std::list<Observer>& observers = Writable(entry->second);
  observers.remove_if([&](const Observer& other) { return other.callback == observer.callback; });
  if (observers.empty()) observers_.erase(entry);
}

std::list<NotificationCenter::Observer>& NotificationCenter::Writable(SharedList& observers) {
  if (observers == nullptr) {
    observers = std::make_shared<std::list<Observer>>();
  } else if (observers.use_count() > 1) {
    observers = std::make_shared<std::list<Observer>>(*observers);
  }
  return *observers;
}

bool NotificationCenter::Contains(const std::list<Observer>& observers,
                                  const std::shared_ptr<void>& subscriber) {
  return std::any_of(observers.begin(), observers.end(), [&](const Observer& observer) {
    return observer.subscriber.lock() == subscriber;
  });
}

bool NotificationCenter::WasSet(const std::weak_ptr<void>& subscriber) {
  const std::weak_ptr<void> never_set;
  return subscriber.owner_before(never_set) || never_set.owner_before(subscriber);
}

}  // namespace core
