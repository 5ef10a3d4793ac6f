// Names by which a journal speaks of objects, so that its entries can be compared as text.

#ifndef MOVRA_TESTING_NAMED_H_
#define MOVRA_TESTING_NAMED_H_

#include <memory>
#include <string>
#include <type_traits>
#include <utility>

namespace movra::testing {

// An object that knows its name. Every double is one, and so are the images and views of tests.
class Named {
 public:
  explicit Named(std::string name) : name_(std::move(name)) {}
  virtual ~Named() = default;

  [[nodiscard]] const std::string& name() const { return name_; }

 private:
  const std::string name_;
};

// Names an object of a class that is not Named, such as a producer: any polymorphic object, by the
// address of the whole of it. Any thread. Addresses come back, so the names are forgotten with the
// environment that the object lived in.
void SetNameOfWhole(const void* whole, std::string name);
[[nodiscard]] std::string NameOfWhole(const void* whole);
void ForgetNames();

template <class T>
void SetNameOf(const T& object, std::string name) {
  SetNameOfWhole(dynamic_cast<const void*>(&object), std::move(name));
}

// "null", the object's name, or "unnamed". An interface pointer names the whole object, so the
// producer is "producer" in each of its roles.
template <class T>
[[nodiscard]] std::string NameOf(const T* object) {
  if (object == nullptr) return "null";
  if constexpr (std::is_polymorphic_v<T>) {
    if (const auto* named = dynamic_cast<const Named*>(object)) return named->name();
    return NameOfWhole(dynamic_cast<const void*>(object));
  } else {
    return "unnamed";
  }
}

}  // namespace movra::testing

#endif  // MOVRA_TESTING_NAMED_H_
