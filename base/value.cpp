#include "base/value.h"

#include <array>
#include <charconv>

namespace movra_base {

std::string Value::ToString() const {
  switch (type()) {
    case Type::kNull:
      return "null";
    case Type::kBool:
      return std::get<bool>(data_) ? "true" : "false";
    case Type::kInteger:
      return std::to_string(std::get<std::int64_t>(data_));
    case Type::kDouble: {
      // The shortest form of a double takes at most 24 characters.
      std::array<char, 32> text;
      const auto end =
          std::to_chars(text.data(), text.data() + text.size(), std::get<double>(data_)).ptr;
      return std::string(text.data(), end);
    }
    case Type::kString:
      return std::get<std::string>(data_);
  }
  return "";  // no other type can be made
}

}  // namespace movra_base
