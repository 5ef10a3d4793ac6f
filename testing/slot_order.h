// Reads the order of an interface's virtual table, and compares it with the one that callers were
// built against.
//
// The trick: under the Itanium C++ ABI (section 2.3, member function pointers), which GCC and Clang
// follow on Linux and macOS, a pointer to a virtual member function holds no address but the offset
// of the function's slot in the virtual table: one plus the offset in the first word, or, on ARM,
// the offset itself with the lowest bit of the second word set. So the slot of an operation can be
// read without an object and without calling anything.
//
// A destructor cannot be pointed to. Where it stands follows from the rest: it takes two slots (the
// complete and the deleting one), so operations that begin at slot 2 have it before them; and those
// that begin at 0 have it behind them when a class derived from the interface adds its first
// operation two slots after the last.

#ifndef MOVRA_TESTING_SLOT_ORDER_H_
#define MOVRA_TESTING_SLOT_ORDER_H_

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <string>
#include <vector>

namespace movra::testing {

// The slot of a virtual operation of exactly this signature; another one does not compile.
template <class Signature, class Interface>
[[nodiscard]] std::size_t SlotOf(Signature Interface::*operation) {
  std::ptrdiff_t words[2];
  static_assert(sizeof(operation) == sizeof(words));
  std::memcpy(words, &operation, sizeof(words));
  const bool is_arm = (words[1] & 1) != 0;
  return static_cast<std::size_t>(is_arm ? words[0] : words[0] - 1) / sizeof(void*);
}

// The number of slots that the interface fills.
template <class Interface>
[[nodiscard]] std::size_t CountSlots() {
  class Derived : public Interface {
   public:
    virtual void Next() = 0;
  };
  return SlotOf<void()>(&Derived::Next);
}

struct Slot {
  std::string operation;
  std::size_t number;
};

enum class DestructorStands { kFirst, kLast };

// `operations` lists all operations of the interface in the order that they are to have.
template <class Interface>
void ExpectSlots(DestructorStands destructor, const std::vector<Slot>& operations) {
  std::size_t expected = destructor == DestructorStands::kFirst ? 2 : 0;
  for (const Slot& slot : operations) {
    EXPECT_EQ(slot.number, expected) << slot.operation;
    ++expected;
  }
  EXPECT_EQ(CountSlots<Interface>(), operations.size() + 2) << "the operations after the listed";
}

}  // namespace movra::testing

// An entry of ExpectSlots for an operation of `I`, with its signature.
#define MOVRA_SLOT(operation, ...) \
  { #operation, ::movra::testing::SlotOf < __VA_ARGS__>(&I::operation) }

#endif  // MOVRA_TESTING_SLOT_ORDER_H_
