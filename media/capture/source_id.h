#ifndef MOVRA_MEDIA_CAPTURE_SOURCE_ID_H_
#define MOVRA_MEDIA_CAPTURE_SOURCE_ID_H_

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace movra::media {

// One of the options of an id: "loop", or "start=5s".
struct SourceOption {
  std::string name{};
  std::optional<std::string> value{};

  friend bool operator==(const SourceOption&, const SourceOption&) = default;
};

// The id of a source says of which kind it is, which one of that kind, and what is asked of it, so
// that a request travels wherever the id goes:
//
//   test:?frames=90&size=640x360      file:/home/ann/talk.mp4?loop&start=5s      /dev/video0
//   kind:address?option&option=value
//
// In an address and in a value "%" and two hexadecimal digits stand for a byte, as in RFC 3986,
// 2.1; any other "%" stands for itself. So "%3F" is the "?" of a name that has one.
struct SourceId {
  std::string address{};
  std::vector<SourceOption> options{};

  friend bool operator==(const SourceId&, const SourceId&) = default;
};

// Of what stands behind the kind. Total: any text is an id.
[[nodiscard]] SourceId ParseSourceId(std::string_view text);

// The address of a name, such as a path, whatever it holds.
[[nodiscard]] std::string SourceAddressOf(std::string_view name);

// The id with one option more; `value` is written so that it is read as it is.
[[nodiscard]] std::string WithSourceOption(
    std::string id, std::string_view name,
    const std::optional<std::string_view>& value = std::nullopt);

}  // namespace movra::media

#endif  // MOVRA_MEDIA_CAPTURE_SOURCE_ID_H_
