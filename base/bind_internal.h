// What a bound callback keeps on the heap.
//
// A `BindState` is one allocation: two functions that know its type, the callable and its bound
// arguments. The callback handle (base/once_callback.h) knows only the `BindStateBase` and calls
// through the two functions, so it is one pointer wide whatever is bound.
//
// Ownership: the handle owns the state and releases it with its destroy function. Threads: none of
// its own; a callback may be run on another thread than the one that bound it.

#ifndef MOVRA_BASE_BIND_INTERNAL_H_
#define MOVRA_BASE_BIND_INTERNAL_H_

#include <cstddef>
#include <functional>
#include <memory>
#include <tuple>
#include <type_traits>
#include <utility>

namespace movra_base {

template <class Sig>
class OnceCallback;
class ClosureInbox;

namespace internal {

class BindStateBase {
 public:
  // Erased to a common type; the handle's signature restores the right one.
  using InvokeFunction = void (*)();
  using DestroyFunction = void (*)(const BindStateBase*);

  BindStateBase(InvokeFunction invoke, DestroyFunction destroy)
      : invoke_(invoke), destroy_(destroy) {}
  BindStateBase(const BindStateBase&) = delete;
  BindStateBase& operator=(const BindStateBase&) = delete;

  [[nodiscard]] InvokeFunction invoke_function() const { return invoke_; }
  void Destroy() const { destroy_(this); }

 protected:
  ~BindStateBase() = default;  // only the destroy function knows the whole object

 private:
  friend class movra_base::ClosureInbox;

  const InvokeFunction invoke_;
  const DestroyFunction destroy_;
  BindStateBase* next_ = nullptr;  // the inbox's, while the closure lies in one
};

template <class Method, class... BoundArgs>
class BindState final : public BindStateBase {
 public:
  template <class M, class... B>
  BindState(InvokeFunction invoke, M&& method, B&&... bound)
      : BindStateBase(invoke, &BindState::Destroy),
        method_(std::forward<M>(method)),
        bound_(std::forward<B>(bound)...) {}

  // Releases what is bound, which may destroy its last owner, and frees the state; null is ignored.
  static void Destroy(const BindStateBase* state) { delete static_cast<const BindState*>(state); }

 private:
  template <class State, class Sig>
  friend struct Invoker;

  ~BindState() = default;

  Method method_;
  std::tuple<BoundArgs...> bound_;
};

template <class T>
inline constexpr bool kIsSharedPtr = false;
template <class T>
inline constexpr bool kIsSharedPtr<std::shared_ptr<T>> = true;
template <class T>
inline constexpr bool kIsWeakPtr = false;
template <class T>
inline constexpr bool kIsWeakPtr<std::weak_ptr<T>> = true;
template <class T>
inline constexpr bool kIsOnceCallback = false;
template <class Sig>
inline constexpr bool kIsOnceCallback<OnceCallback<Sig>> = true;

// The invoke function of a bind state, called once at most. A method is called on the target, whose
// reference stays in the state until the state is destroyed; a weak target that is gone is not
// called. Other bound arguments are moved out: there is no second call that could need them.
template <class State, class Sig>
struct Invoker;

template <class Method, class... BoundArgs, class R, class... Args>
struct Invoker<BindState<Method, BoundArgs...>, R(Args...)> {
  static R RunOnce(BindStateBase* base, Args... args) {
    auto& state = *static_cast<BindState<Method, BoundArgs...>*>(base);
    return std::apply(
        [&](auto&... bound) -> R {
          if constexpr (std::is_member_function_pointer_v<Method>) {
            return CallMethod(state.method_, bound...)(std::forward<Args>(args)...);
          } else if constexpr (kIsOnceCallback<Method>) {
            return std::move(state.method_).Run(std::move(bound)..., std::forward<Args>(args)...);
          } else {
            return std::invoke(std::move(state.method_), std::move(bound)...,
                               std::forward<Args>(args)...);
          }
        },
        state.bound_);
  }

 private:
  // The target stays where it is; what follows it is moved into the call.
  template <class Target, class... Bound>
  static auto CallMethod(Method method, Target& target, Bound&... bound) {
    return [&, method](Args&&... args) -> R {
      if constexpr (kIsWeakPtr<Target>) {
        const auto object = target.lock();
        if (object == nullptr) return;
        ((*object).*method)(std::move(bound)..., std::forward<Args>(args)...);
      } else {
        return ((*target).*method)(std::move(bound)..., std::forward<Args>(args)...);
      }
    };
  }
};

}  // namespace internal
}  // namespace movra_base

#endif  // MOVRA_BASE_BIND_INTERNAL_H_
