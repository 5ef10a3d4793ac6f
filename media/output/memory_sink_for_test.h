#ifndef MOVRA_MEDIA_OUTPUT_MEMORY_SINK_FOR_TEST_H_
#define MOVRA_MEDIA_OUTPUT_MEMORY_SINK_FOR_TEST_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <vector>

#include "media/output/byte_sink.h"

namespace movra::media {

// Keeps what a muxer writes, up to so many bytes.
class MemorySink final : public IByteSink {
 public:
  explicit MemorySink(bool seekable, std::size_t most = std::numeric_limits<std::size_t>::max())
      : seekable_(seekable), most_(most) {}

  // IByteSink
  [[nodiscard]] bool Write(const std::uint8_t* data, std::size_t size) override {
    if (position_ + size > most_) error_ = WriteError{WriteErrorKind::kDiskFull, "memory is full"};
    if (error_) return false;
    bytes_.resize(std::max(bytes_.size(), position_ + size));
    std::copy(data, data + size, bytes_.begin() + static_cast<std::ptrdiff_t>(position_));
    position_ += size;
    return true;
  }
  [[nodiscard]] bool Seek(std::int64_t position) override {
    if (!seekable_) error_ = WriteError{WriteErrorKind::kFailed, "memory has one direction"};
    position_ = static_cast<std::size_t>(position);
    return !error_.has_value();
  }
  [[nodiscard]] bool IsSeekable() const override { return seekable_; }
  void MarkWhole() override { whole_ = bytes_.size(); }
  [[nodiscard]] const std::optional<WriteError>& error() const override { return error_; }
  [[nodiscard]] std::uint64_t bytes_written() const override { return bytes_.size(); }

  [[nodiscard]] const std::vector<std::uint8_t>& bytes() const { return bytes_; }
  [[nodiscard]] std::size_t whole() const { return whole_; }

 private:
  const bool seekable_;
  const std::size_t most_;
  std::vector<std::uint8_t> bytes_;
  std::size_t position_ = 0;
  std::size_t whole_ = 0;
  std::optional<WriteError> error_;
};

}  // namespace movra::media

#endif  // MOVRA_MEDIA_OUTPUT_MEMORY_SINK_FOR_TEST_H_
