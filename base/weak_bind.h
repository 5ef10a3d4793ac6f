// A member function bound to an object that may be gone by the time it is called.
//
// Handlers that a registry keeps are bound weakly: the registry never keeps the object alive, and a
// notification that comes after the object died is dropped silently.
//
//   std::function<void(int)> handler = movra::MakeWeakBind(weak_from_this(), &Camera::OnState);
//
// Threads: may be called on any thread and on several at once. The object is held for the length of
// the call, so it cannot be destroyed while its handler runs; where that reference turns out to be
// the last one, the object is destroyed on the calling thread.

#ifndef MOVRA_BASE_WEAK_BIND_H_
#define MOVRA_BASE_WEAK_BIND_H_

#include <memory>
#include <utility>

namespace movra {

template <class R, class T, class... Args>
class WeakBind {
 public:
  using Method = R (T::*)(Args...);

  // A reference that was never set and a null method are legal; then calls do nothing.
  WeakBind(std::weak_ptr<T> target, Method method) : target_(std::move(target)), method_(method) {}

  // Calls the method, whose result is dropped, if the target still lives.
  void operator()(Args... args) const {
    const std::shared_ptr<T> target = target_.lock();
    if (target == nullptr || method_ == nullptr) return;
    ((*target).*method_)(std::forward<Args>(args)...);
  }

 private:
  std::weak_ptr<T> target_;
  Method method_;
};

template <class R, class T, class... Args>
[[nodiscard]] WeakBind<R, T, Args...> MakeWeakBind(std::weak_ptr<T> target,
                                                   R (T::*method)(Args...)) {
  return WeakBind<R, T, Args...>(std::move(target), method);
}

}  // namespace movra

#endif  // MOVRA_BASE_WEAK_BIND_H_
