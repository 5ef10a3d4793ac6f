// The process-wide publish/subscribe registry.
//
// A notification kind is an id and an event name; both together are the key of a list of observers
// in the order of their subscription. An object is subscribed at most once for a key. Its
// subscription ends when it unsubscribes, or, once it is dead, when another object of the same key
// does; until then it calls nothing.
//
//   core::SubscribeEvent<std::function<void(const State&)>>(
//       kCameraState, "", core::Location(__FILE__, __LINE__), shared_from_this(),
//       &Producer::OnCameraState);
//   core::NotificationCenter::GetInstance().Publish<const State&>(kCameraState, "", state);
//
// Threads: no lock is taken; the main queue serialises subscribing, unsubscribing and publishing.

#ifndef MOVRA_CORE_NOTIFICATION_CENTER_H_
#define MOVRA_CORE_NOTIFICATION_CENTER_H_

#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <string>
#include <type_traits>
#include <unordered_map>
#include <utility>

#include "base/weak_bind.h"
#include "core/location.h"
#include "logging/guarded_call.h"

namespace core {

// A notification kind. The callbacks of one kind all have one signature.
struct NotificationId {
  std::int32_t value = 0;

  friend constexpr bool operator==(const NotificationId&, const NotificationId&) = default;
};

class NotificationCenter {
 public:
  struct Observer {
    std::weak_ptr<void> subscriber;  // who subscribed; never kept alive
    std::shared_ptr<void> callback;  // a std::function of the notification's signature
    Location location;               // where the subscription was made
  };

  // The registry, which is never destroyed.
  [[nodiscard]] static NotificationCenter& GetInstance();

  // The key of an id and an event name; no two different pairs share one.
  [[nodiscard]] static std::string GenerateEventId(const NotificationId& id,
                                                   const std::string& event);

  // Appends an observer. F is the std::function of the notification's signature, and `callback`
  // is called while the subscriber lives. A subscriber that has an observer for this key already
  // keeps it, and the new callback is dropped. A subscriber that was never set stands for nobody:
  // it is called always and cannot be unsubscribed by name; for each key there is at most one
  // such subscriber, and none is added next to a dead one.
  template <class F>
  void SubscribeEvent(const NotificationId& id, const std::string& event, const Location& location,
                      std::weak_ptr<void> subscriber, F callback) {
    std::list<Observer>& observers = Writable(observers_[GenerateEventId(id, event)]);
    if (Contains(observers, subscriber.lock())) return;
    observers.push_back(
        {std::move(subscriber), std::make_shared<F>(std::move(callback)), location});
  }

  // Removes the subscriber's observer for this key, and the dead observers that stand next to it.
  // A subscriber that is gone already changes nothing.
  void UnsubscribeEvent(const NotificationId& id, const std::string& event,
                        std::weak_ptr<void> subscriber);

  // Calls the observers of this key, in order. The caller names the notification's signature, as
  // in `Publish<const State&, int>(id, event, state, 3)`; it must be the one they subscribed with.
  // A handler may subscribe and unsubscribe anybody: who is subscribed when publishing begins is
  // called, unless it dies before its turn, and nobody else. Subscriber and callback are held for
  // the length of the call. One that throws is told in a warning line and loses its subscription;
  // the others are called.
  template <class... Args>
  void Publish(const NotificationId& id, const std::string& event,
               std::type_identity_t<Args>... args) {
    const std::string key = GenerateEventId(id, event);
    const auto entry = observers_.find(key);
    if (entry == observers_.end()) return;
    const std::shared_ptr<const std::list<Observer>> observers = entry->second;
    for (const Observer& observer : *observers) {
      const std::shared_ptr<void> subscriber = observer.subscriber.lock();
      if (subscriber == nullptr && WasSet(observer.subscriber)) continue;
      // One observer's call must leave the arguments to the next, so none of them is moved.
      const auto call = [&] {
        (*static_cast<std::function<void(Args...)>*>(observer.callback.get()))(args...);
      };
      if (!movra_logging::CallGuarded([&] { return Describe(observer); }, call)) {
        Detach(key, observer);
      }
    }
  }

  // What is registered, for inspection.
  [[nodiscard]] std::size_t ObserverCount(const NotificationId& id, const std::string& event) const;
  [[nodiscard]] bool HasKey(const NotificationId& id, const std::string& event) const;
  // A copy of the list, empty for an unknown key.
  [[nodiscard]] std::list<Observer> Observers(const NotificationId& id,
                                              const std::string& event) const;

  // Forgets all observers.
  void Clear();

  NotificationCenter(const NotificationCenter&) = delete;
  NotificationCenter& operator=(const NotificationCenter&) = delete;

 private:
  NotificationCenter() = default;

  // A list is shared with those who are publishing to it, so none that is shared is changed.
  using SharedList = std::shared_ptr<std::list<Observer>>;

  // Whose handler it is, for a line about it.
  static std::string Describe(const Observer& observer);
  // Removes an observer if it is still there.
  void Detach(const std::string& key, const Observer& observer);
  // The list to be changed: a copy in its place where it is shared, a new one for null.
  static std::list<Observer>& Writable(SharedList& observers);
  // Whether the subscriber has an observer there; null has one where an observer's is gone.
  static bool Contains(const std::list<Observer>& observers,
                       const std::shared_ptr<void>& subscriber);
  // Whether the reference was ever set to an object, be it gone or not.
  static bool WasSet(const std::weak_ptr<void>& subscriber);

  std::unordered_map<std::string, SharedList> observers_;  // never null, and never empty lists
};

// Subscribes a member function of an object, held weakly: the registry does not keep the object
// alive, and a notification that comes after its end calls nothing. F is the std::function of the
// notification's signature.
template <class F, class T, class... Args>
void SubscribeEvent(const NotificationId& id, const std::string& event, const Location& location,
                    std::shared_ptr<T> subscriber, void (T::*method)(Args...)) {
  NotificationCenter::GetInstance().SubscribeEvent<F>(
      id, event, location, std::weak_ptr<void>(subscriber),
      F(movra::MakeWeakBind(std::weak_ptr<T>(subscriber), method)));
}

}  // namespace core

#endif  // MOVRA_CORE_NOTIFICATION_CENTER_H_
