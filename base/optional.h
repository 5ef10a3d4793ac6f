// A value that may be absent.
//
// Records carry their optional fields as `Optional<T>`: a presence flag followed by storage for one
// T. It behaves as a value: copies copy, an absent one assigned over a present one destroys it.
//
//   Optional<int> rate;           // absent
//   rate = 30;                    // present
//   if (rate) Use(rate.value());
//
// Reading an absent one is a programming error. It reports through the logging core and then, when
// T is trivially copyable, yields zero, even where an earlier value was stored. For any other T
// there is no object to yield, so the report ends the process; where a check handler is installed
// and returns, the reference that the read returns must not be used.
//
// Threads: none of its own; as thread-safe as a T.

#ifndef MOVRA_BASE_OPTIONAL_H_
#define MOVRA_BASE_OPTIONAL_H_

#include <concepts>
#include <cstring>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

#include "logging/log_message.h"

namespace movra_base {

template <class T>
class Optional;

namespace internal {

template <class T>
inline constexpr bool kIsOptional = false;
template <class T>
inline constexpr bool kIsOptional<Optional<T>> = true;

// A plain value, not an optional one, that can be compared with a T.
template <class U, class T>
concept ComparableValue = !kIsOptional<U> && requires(const T& value, const U& other) {
  { value == other } -> std::convertible_to<bool>;
};

}  // namespace internal

template <class T>
class Optional {
  static_assert(std::is_object_v<T> && !std::is_array_v<T> && !std::is_const_v<T>);

  template <class U>
  static constexpr bool kIsValueFor = !std::same_as<std::remove_cvref_t<U>, Optional> &&
                                      std::constructible_from<T, U> && std::is_assignable_v<T&, U>;

 public:
  using value_type = T;

  Optional() noexcept { ForgetValue(); }

  // Present, with the value. Implicit, so that a record's field can be given its value.
  template <class U = T>
  requires(kIsValueFor<U>) explicit(!std::is_convertible_v<U, T>) Optional(U&& value) {
    emplace(std::forward<U>(value));
  }

  Optional(const Optional& other) : Optional() {
    if (other.has_value()) emplace(other.Stored());
  }

  Optional(Optional&& other) noexcept(std::is_nothrow_move_constructible_v<T>) : Optional() {
    if (other.has_value()) emplace(std::move(other.Stored()));
  }

  ~Optional() {
    if (has_value()) std::destroy_at(&Stored());
  }

  Optional& operator=(const Optional& other) {
    if (other.has_value()) {
      AssignValue(other.Stored());
    } else {
      reset();
    }
    return *this;
  }

  // The source stays present, holding what moving left of its value.
  Optional& operator=(Optional&& other) noexcept(
      std::is_nothrow_move_constructible_v<T>&& std::is_nothrow_move_assignable_v<T>) {
    if (other.has_value()) {
      AssignValue(std::move(other.Stored()));
    } else {
      reset();
    }
    return *this;
  }

  // Assigns the value, or constructs it where there is none. Braces have no type here, so
  // `optional = {}` is the assignment above and makes it absent.
  template <class U>
  requires(kIsValueFor<U>) Optional& operator=(U&& value) {
    AssignValue(std::forward<U>(value));
    return *this;
  }

  // Destroys a present value and constructs a new one in place.
  template <class... Args>
  requires std::constructible_from<T, Args...> T& emplace(Args&&... args) {
    reset();
    T* const made = ::new (static_cast<void*>(storage_.bytes_)) T(std::forward<Args>(args)...);
    storage_.is_populated_ = true;
    return *made;
  }

  void reset() noexcept {
    if (!has_value()) return;
    // In this order: what the value's end looks up may find it still there.
    std::destroy_at(&Stored());
    storage_.is_populated_ = false;
    ForgetValue();
  }

  [[nodiscard]] bool has_value() const noexcept { return storage_.is_populated_; }
  explicit operator bool() const noexcept { return has_value(); }

  // Reads; an absent value is reported as said above.
  [[nodiscard]] T& value() & {
    CheckIsPopulated(627, "value");
    return Stored();
  }
  [[nodiscard]] const T& value() const& {
    CheckIsPopulated(627, "value");
    return Stored();
  }
  [[nodiscard]] T&& value() && { return std::move(value()); }

  [[nodiscard]] T* operator->() {
    CheckIsPopulated(598, "operator->");
    return &Stored();
  }
  [[nodiscard]] const T* operator->() const {
    CheckIsPopulated(598, "operator->");
    return &Stored();
  }

  [[nodiscard]] T& operator*() & { return value(); }
  [[nodiscard]] const T& operator*() const& { return value(); }
  [[nodiscard]] T&& operator*() && { return std::move(value()); }

  // The value, or the other one where there is none.
  template <class U>
  [[nodiscard]] T value_or(U&& otherwise) const& {
    return has_value() ? Stored() : static_cast<T>(std::forward<U>(otherwise));
  }
  template <class U>
  [[nodiscard]] T value_or(U&& otherwise) && {
    return has_value() ? std::move(Stored()) : static_cast<T>(std::forward<U>(otherwise));
  }

  // Two are equal when both are absent, or both present with equal values.
  friend bool operator==(const Optional& a, const Optional& b) {
    return a.has_value() == b.has_value() && (!a.has_value() || a.Stored() == b.Stored());
  }
  template <internal::ComparableValue<T> U>
  friend bool operator==(const Optional& a, const U& b) {
    return a.has_value() && a.Stored() == b;
  }

 private:
  struct Storage {
    bool is_populated_ = false;
    alignas(T) unsigned char bytes_[sizeof(T)];
  };

  T& Stored() noexcept { return *std::launder(reinterpret_cast<T*>(storage_.bytes_)); }
  const T& Stored() const noexcept {
    return *std::launder(reinterpret_cast<const T*>(storage_.bytes_));
  }

  template <class U>
  void AssignValue(U&& value) {
    if (has_value()) {
      Stored() = std::forward<U>(value);
    } else {
      emplace(std::forward<U>(value));
    }
  }

  // What a read of the absent value yields; see the head of this file.
  void ForgetValue() noexcept {
    if constexpr (std::is_trivially_copyable_v<T>) std::memset(storage_.bytes_, 0, sizeof(T));
  }

  // The place is a constant of the report: readers of logs look for these lines.
  void CheckIsPopulated(int line, const char* function) const {
    if (has_value()) [[likely]]
      return;
    movra_logging::LogMessage report("../../base/optional", line, function,
                                     "storage_.is_populated_");
    if constexpr (!std::is_trivially_copyable_v<T>) report.EndProcessUnlessHandled();
  }

  Storage storage_;
};

}  // namespace movra_base

#endif  // MOVRA_BASE_OPTIONAL_H_
