// Closures on their way from many threads to the one that runs them.
//
// Putting one in is a single exchange of a pointer: no lock, and no allocation besides the one that
// binding made, because the closures are chained through their bind states.
//
//   movra_base::ClosureInbox inbox;
//   if (inbox.Put(movra_base::BindOnce(...))) { ...wake the taker... }   // any thread
//
//   std::vector<movra_base::OnceClosure> closures;                       // the taker
//   inbox.TakeAll(closures);
//
// A taker that wants to sleep until something comes says so, and whoever puts the next closure in
// is told to wake it. To miss nothing, the taker holds a mutex from `FallAsleep` until it waits,
// and whoever was told takes that mutex once before it notifies.
//
// Threads: Put from any; everything else from one at a time, the taker.

#ifndef MOVRA_BASE_CLOSURE_INBOX_H_
#define MOVRA_BASE_CLOSURE_INBOX_H_

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <utility>
#include <vector>

#include "base/bind_internal.h"
#include "base/once_callback.h"

namespace movra_base {

class ClosureInbox {
 public:
  ClosureInbox() = default;
  ClosureInbox(const ClosureInbox&) = delete;
  ClosureInbox& operator=(const ClosureInbox&) = delete;

  // Destroys what is left, unrun.
  ~ClosureInbox() {
    std::vector<OnceClosure> left;
    TakeAll(left);
  }

  // Puts in a closure that is not empty. Returns whether the taker sleeps and is to be woken, which
  // is said once for each time that it fell asleep.
  [[nodiscard]] bool Put(OnceClosure closure) {
    internal::BindStateBase* const state = closure.TakeState().release();
    internal::BindStateBase* newest = newest_.load(std::memory_order_relaxed);
    do {
      state->next_ = newest == &asleep_ ? nullptr : newest;
    } while (!newest_.compare_exchange_weak(newest, state, std::memory_order_release,
                                            std::memory_order_relaxed));
    return newest == &asleep_;
  }

  // Appends all closures in the order in which they were put in. The taker is awake from here on.
  void TakeAll(std::vector<OnceClosure>& closures) {
    if (newest_.load(std::memory_order_relaxed) == nullptr) return;
    internal::BindStateBase* state = newest_.exchange(nullptr, std::memory_order_acquire);
    if (state == &asleep_) return;
    const auto first = static_cast<std::ptrdiff_t>(closures.size());
    while (state != nullptr) {
      internal::BindStateBase* const older = state->next_;
      closures.push_back(OnceClosure(internal::BindStatePtr(state)));
      state = older;
    }
    std::reverse(closures.begin() + first, closures.end());
  }

  // Marks the taker as asleep. False if there is something to take; then it is not.
  [[nodiscard]] bool FallAsleep() {
    internal::BindStateBase* newest = nullptr;
    return newest_.compare_exchange_strong(newest, &asleep_, std::memory_order_relaxed) ||
           newest == &asleep_;
  }

 private:
  // Stands in the place of the newest closure while the taker sleeps.
  struct Asleep final : internal::BindStateBase {
    Asleep() : BindStateBase(nullptr, nullptr) {}
  };

  Asleep asleep_;
  // The newest of a chain, each linked to the one before it; null for none.
  std::atomic<internal::BindStateBase*> newest_ = nullptr;
};

}  // namespace movra_base

#endif  // MOVRA_BASE_CLOSURE_INBOX_H_
