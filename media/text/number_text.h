// Numbers in what people type: digits alone, no sign, no blanks, no exponent.

#ifndef MOVRA_MEDIA_TEXT_NUMBER_TEXT_H_
#define MOVRA_MEDIA_TEXT_NUMBER_TEXT_H_

#include <cstdint>
#include <optional>
#include <string_view>

namespace movra::media {

// A whole number; one that does not fit is the greatest there is. Absent if it is none.
[[nodiscard]] std::optional<std::int64_t> ParseWhole(std::string_view text);

// A number with or without a fraction: "12", "1.5", ".5". Absent if it is none.
[[nodiscard]] std::optional<double> ParseDecimal(std::string_view text);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_TEXT_NUMBER_TEXT_H_
