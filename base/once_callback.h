// A callback that runs at most once.
//
// `OnceCallback<R(Args...)>` is a move-only handle to one bound callable. Running it consumes it:
//
//   movra_base::OnceCallback<void(int)> done = movra_base::BindOnce([](int code) { ... });
//   std::move(done).Run(0);
//
// The handle is empty as soon as the call begins, and what was bound is destroyed when the call
// ends. A callback that is destroyed without being run releases what was bound and calls nothing.
// An empty handle is valid; running it does nothing and returns a value-initialised R.
//
// Threads: a handle belongs to one thread at a time, and may be moved to another one and run there.
// Cost: one allocation for each callback bound, none to move or run it.

#ifndef MOVRA_BASE_ONCE_CALLBACK_H_
#define MOVRA_BASE_ONCE_CALLBACK_H_

#include <cstddef>
#include <memory>
#include <type_traits>
#include <utility>

#include "base/bind_internal.h"

namespace movra_base {
namespace internal {

struct BindStateDestroyer {
  void operator()(const BindStateBase* state) const { state->Destroy(); }
};
using BindStatePtr = std::unique_ptr<BindStateBase, BindStateDestroyer>;

struct OnceCallbackMaker;

}  // namespace internal

// What handles of every signature share: the ownership of the bind state, which is released when
// the handle is destroyed or assigned to.
class CallbackBase {
 public:
  explicit operator bool() const { return state_ != nullptr; }

 protected:
  CallbackBase() = default;
  explicit CallbackBase(internal::BindStatePtr state) : state_(std::move(state)) {}
  CallbackBase(CallbackBase&&) = default;
  CallbackBase& operator=(CallbackBase&&) = default;
  ~CallbackBase() = default;

  internal::BindStatePtr TakeState() { return std::move(state_); }

 private:
  friend class ClosureInbox;

  internal::BindStatePtr state_;
};

template <class R, class... Args>
class OnceCallback<R(Args...)> : public CallbackBase {
 public:
  OnceCallback() = default;

  // Runs and consumes. Only on an rvalue, so that the call shows that nothing is left after it.
  R Run(Args... args) && {
    const internal::BindStatePtr state = TakeState();
    if (state == nullptr) return R();
    const auto run =
        reinterpret_cast<R (*)(internal::BindStateBase*, Args...)>(state->invoke_function());
    return run(state.get(), std::forward<Args>(args)...);
  }

 private:
  friend struct internal::OnceCallbackMaker;
  friend class ClosureInbox;
  using CallbackBase::CallbackBase;
};

using OnceClosure = OnceCallback<void()>;

namespace internal {

// The signature of a callable that has exactly one; a method's is without its target.
template <class F>
struct CallableSignature {};
template <class R, class... A>
struct CallableSignature<R (*)(A...)> {
  using type = R(A...);
};
template <class R, class... A>
struct CallableSignature<R (*)(A...) noexcept> : CallableSignature<R (*)(A...)> {};
template <class R, class T, class... A>
struct CallableSignature<R (T::*)(A...)> : CallableSignature<R (*)(A...)> {};
template <class R, class T, class... A>
struct CallableSignature<R (T::*)(A...) const> : CallableSignature<R (*)(A...)> {};
template <class R, class T, class... A>
struct CallableSignature<R (T::*)(A...) noexcept> : CallableSignature<R (*)(A...)> {};
template <class R, class T, class... A>
struct CallableSignature<R (T::*)(A...) const noexcept> : CallableSignature<R (*)(A...)> {};
template <class F>
requires requires { &F::operator(); }
struct CallableSignature<F> : CallableSignature<decltype(&F::operator())> {};
template <class Sig>
struct CallableSignature<OnceCallback<Sig>> {
  using type = Sig;
};

// A signature without its first `kCount` parameters; none when it has fewer.
template <std::size_t kCount, class Sig>
struct DropParameters {};
template <class R, class... A>
struct DropParameters<0, R(A...)> {
  using type = R(A...);
};
template <std::size_t kCount, class R, class First, class... A>
requires(kCount > 0) struct DropParameters<kCount, R(First, A...)>
    : DropParameters<kCount - 1, R(A...)> {
};

template <class F, class... Bound>
struct UnboundSignature : DropParameters<sizeof...(Bound), typename CallableSignature<F>::type> {};
template <class F, class Target, class... Bound>
requires std::is_member_function_pointer_v<F>
struct UnboundSignature<F, Target, Bound...>
    : DropParameters<sizeof...(Bound), typename CallableSignature<F>::type> {
};

template <class F>
inline constexpr bool kReturnsVoid = false;
template <class F>
requires requires { typename CallableSignature<F>::type; }
inline constexpr bool kReturnsVoid<F> = [] {
  return []<class R, class... A>(R (*)(A...)) {
    return std::is_void_v<R>;
  }(static_cast<typename CallableSignature<F>::type*>(nullptr));
}();

// A method needs a target that keeps itself valid; a weak one can answer for nothing but void.
template <class F, class... Bound>
inline constexpr bool kHasValidTarget = !std::is_member_pointer_v<F>;
template <class F, class Target, class... Bound>
inline constexpr bool kHasValidTarget<F, Target, Bound...> =
    !std::is_member_pointer_v<F> ||
    (std::is_member_function_pointer_v<F> &&
     (kIsSharedPtr<Target> || (kIsWeakPtr<Target> && kReturnsVoid<F>)));

template <class F, class... Bound>
concept BindableOnce = kHasValidTarget<F, Bound...> && requires {
  typename UnboundSignature<F, Bound...>::type;
};

struct OnceCallbackMaker {
  template <class F, class... Bound>
  static auto Make(F&& callable, Bound&&... bound) {
    using Sig = typename UnboundSignature<std::decay_t<F>, std::decay_t<Bound>...>::type;
    using State = BindState<std::decay_t<F>, std::decay_t<Bound>...>;
    const auto invoke =
        reinterpret_cast<BindStateBase::InvokeFunction>(&Invoker<State, Sig>::RunOnce);
    return OnceCallback<Sig>(
        BindStatePtr(new State(invoke, std::forward<F>(callable), std::forward<Bound>(bound)...)));
  }
};

}  // namespace internal

// Binds a callable and its first arguments into a once-callback of the remaining parameters:
//
//   BindOnce(callable, bound...)                    a function, a lambda or another object with
//                                                   one operator(), a OnceCallback
//   BindOnce(&T::Method, shared_ptr<T>, bound...)   keeps the target alive until the callback has
//                                                   run or is dropped; it must not be null
//   BindOnce(&T::Method, weak_ptr<T>, bound...)     does nothing when the target is gone; the
//                                                   method returns void
//
// The callable and the arguments are copied or moved into the callback, and moved out into the
// call. A method cannot be bound to a raw pointer, because nothing says that it would still point
// to something when the callback runs.
template <class F, class... Bound>
requires internal::BindableOnce<std::decay_t<F>, std::decay_t<Bound>...>
[[nodiscard]] auto BindOnce(F&& callable, Bound&&... bound) {
  return internal::OnceCallbackMaker::Make(std::forward<F>(callable),
                                           std::forward<Bound>(bound)...);
}

}  // namespace movra_base

#endif  // MOVRA_BASE_ONCE_CALLBACK_H_
