// A value whose kind is known only at run time: nothing, a truth value, an integer, a number or
// text. It carries the details of an event whose shape depends on the event.
//
//   movra_base::Value detail(-12);
//   if (const auto* code = detail.GetIf<std::int64_t>()) Use(*code);
//
// Threads: none of its own.

#ifndef MOVRA_BASE_VALUE_H_
#define MOVRA_BASE_VALUE_H_

#include <concepts>
#include <cstdint>
#include <string>
#include <utility>
#include <variant>

namespace movra_base {

class Value {
 public:
  enum class Type : std::int32_t { kNull = 0, kBool = 1, kInteger = 2, kDouble = 3, kString = 4 };

  Value() = default;  // null
  // Exactly a bool: a pointer that happens to convert to one is not a truth value.
  template <std::same_as<bool> B>
  explicit Value(B value) : data_(value) {}
  // Every integer is kept in 64 bits; an unsigned one beyond their range wraps.
  template <std::integral I>
  requires(!std::same_as<I, bool>) explicit Value(I value)
      : data_(static_cast<std::int64_t>(value)) {}
  template <std::floating_point F>
  explicit Value(F value) : data_(static_cast<double>(value)) {}
  explicit Value(std::string value) : data_(std::move(value)) {}
  explicit Value(const char* value) : data_(std::string(value)) {}

  [[nodiscard]] Type type() const { return static_cast<Type>(data_.index()); }
  [[nodiscard]] bool is_null() const { return type() == Type::kNull; }

  // The value if it is a T (bool, std::int64_t, double or std::string), otherwise null. Kinds are
  // not converted into each other.
  template <class T>
  [[nodiscard]] const T* GetIf() const {
    return std::get_if<T>(&data_);
  }

  // For people: "null", "true", "-12", "0.1", and text as it stands. A double prints with the
  // fewest digits that read back as the same value.
  [[nodiscard]] std::string ToString() const;

  // Equal when the kinds and the values are; the integer 1 is not the double 1.0.
  friend bool operator==(const Value&, const Value&) = default;

 private:
  // In the order of Type.
  std::variant<std::monostate, bool, std::int64_t, double, std::string> data_;
};

}  // namespace movra_base

#endif  // MOVRA_BASE_VALUE_H_
