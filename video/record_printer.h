#ifndef MOVRA_VIDEO_RECORD_PRINTER_H_
#define MOVRA_VIDEO_RECORD_PRINTER_H_

#include <string>
#include <string_view>
#include <type_traits>

#include "base/optional.h"

namespace movra::video {

// Builds the text form of a record, "Name{field:1 other:text}"; absent optional fields are left
// out.
class RecordPrinter {
 public:
  explicit RecordPrinter(std::string_view name) : text_(name) { text_ += '{'; }

  template <class T>
  RecordPrinter& Field(std::string_view name, const T& value) {
    if (!first_) text_ += ' ';
    first_ = false;
    text_ += name;
    text_ += ':';
    Append(value);
    return *this;
  }

  template <class T>
  RecordPrinter& Field(std::string_view name, const movra_base::Optional<T>& value) {
    return value.has_value() ? Field(name, value.value()) : *this;
  }

  [[nodiscard]] std::string Finish() { return std::move(text_) + '}'; }

 private:
  template <class T>
  void Append(const T& value) {
    if constexpr (std::is_same_v<T, bool>) {
      text_ += value ? "true" : "false";
    } else if constexpr (std::is_arithmetic_v<T>) {
      text_ += std::to_string(value);
    } else {
      text_ += value;
    }
  }

  std::string text_;
  bool first_ = true;
};

}  // namespace movra::video

#endif  // MOVRA_VIDEO_RECORD_PRINTER_H_
