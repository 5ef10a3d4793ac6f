// Where a random play takes its decisions from: a row of bytes, so that one driver serves fixed
// seeds, a fuzzer and its corpus alike. When the bytes are used up every choice is the first one.

#ifndef MOVRA_MODEL_CHOICES_H_
#define MOVRA_MODEL_CHOICES_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace movra::video::model {

class Choices {
 public:
  explicit Choices(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

  [[nodiscard]] bool AreUsedUp() const { return next_ == bytes_.size(); }

  // 0 to count - 1; count is at most 256.
  std::size_t Index(std::size_t count) { return AreUsedUp() ? 0 : bytes_[next_++] % count; }
  bool Bool() { return Index(2) == 1; }

  template <class T, std::size_t kCount>
  const T& One(const T (&values)[kCount]) {
    return values[Index(kCount)];
  }

 private:
  const std::span<const std::uint8_t> bytes_;
  std::size_t next_ = 0;
};

}  // namespace movra::video::model

#endif  // MOVRA_MODEL_CHOICES_H_
