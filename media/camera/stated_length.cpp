#include "media/camera/stated_length.h"

#include <bit>
#include <cstring>

namespace movra::media {
namespace {

constexpr std::uint64_t kEbmlHeader = 0x1A45DFA3;
constexpr std::uint64_t kSegment = 0x18538067;

bool BeginsWith(std::span<const std::uint8_t> bytes, const char (&word)[5]) {
  return bytes.size() >= 4 && std::memcmp(bytes.data(), word, 4) == 0;
}

struct Element {
  std::uint64_t id = 0;
  std::uint64_t size = 0;
  std::size_t head = 0;  // The bytes of both.
  bool open = false;     // Its size was not known.
};

// A number whose first bit that is set tells how many bytes it has.
std::optional<std::uint64_t> TakeNumber(std::span<const std::uint8_t> bytes, std::size_t& at) {
  if (at >= bytes.size() || bytes[at] == 0) return std::nullopt;
  const auto length = static_cast<std::size_t>(std::countl_zero(bytes[at])) + 1;
  if (at + length > bytes.size()) return std::nullopt;
  std::uint64_t number = 0;
  for (std::size_t i = 0; i < length; ++i) number = number << 8 | bytes[at++];
  return number;
}

std::optional<Element> ElementAt(std::span<const std::uint8_t> bytes) {
  Element element;
  const auto id = TakeNumber(bytes, element.head);
  const std::size_t before = element.head;
  const auto size = TakeNumber(bytes, element.head);
  if (!id || !size) return std::nullopt;
  const std::uint64_t marker = std::uint64_t{1} << 7 * (element.head - before);
  element.id = *id;
  element.size = *size - marker;
  element.open = element.size == marker - 1;
  return element;
}

}  // namespace

std::optional<std::uint64_t> StatedLength(std::span<const std::uint8_t> head) {
  if (BeginsWith(head, "RIFF") && head.size() >= 8) {
    std::uint64_t size = 0;
    for (std::size_t i = 8; i-- > 4;) size = size << 8 | head[i];
    // Who could not go back to write it left it empty, or full.
    if (size == 0 || size == 0xFFFFFFFF) return std::nullopt;
    return size + 8;
  }
  const auto header = ElementAt(head);
  if (!header || header->id != kEbmlHeader || header->size >= head.size()) return std::nullopt;
  const std::size_t at = header->head + static_cast<std::size_t>(header->size);
  if (at >= head.size()) return std::nullopt;
  const auto segment = ElementAt(head.subspan(at));
  if (!segment || segment->id != kSegment || segment->open) return std::nullopt;
  return at + segment->head + segment->size;
}

}  // namespace movra::media
