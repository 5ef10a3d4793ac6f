#include "media/file/stated_length.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

namespace movra::media {
namespace {

constexpr std::uint64_t kEbmlHeader = 0x1A45DFA3;
constexpr std::uint64_t kSegment = 0x18538067;

using Guid = std::array<std::uint8_t, 16>;
constexpr Guid kAsfHeader{0x30, 0x26, 0xB2, 0x75, 0x8E, 0x66, 0xCF, 0x11,
                          0xA6, 0xD9, 0x00, 0xAA, 0x00, 0x62, 0xCE, 0x6C};
constexpr Guid kAsfFileProperties{0xA1, 0xDC, 0xAB, 0x8C, 0x47, 0xA9, 0xCF, 0x11,
                                  0x8E, 0xE4, 0x00, 0xC0, 0x0C, 0x20, 0x53, 0x65};

bool BeginsWith(std::span<const std::uint8_t> bytes, const char (&word)[5]) {
  return bytes.size() >= 4 && std::memcmp(bytes.data(), word, 4) == 0;
}

std::uint64_t LittleEndian(std::span<const std::uint8_t> bytes) {
  std::uint64_t number = 0;
  for (std::size_t i = bytes.size(); i-- > 0;) number = number << 8 | bytes[i];
  return number;
}

// Its properties stand anywhere in its header; here they are looked for in the front, where they
// mostly are.
std::optional<std::uint64_t> LengthOfAsf(std::span<const std::uint8_t> head) {
  constexpr std::size_t kProperties = 30;
  constexpr std::size_t kLength = kProperties + 40;
  constexpr std::size_t kFlags = kProperties + 88;
  constexpr std::uint32_t kBroadcast = 1;  // Then nothing of what they say was known.
  if (head.size() < kFlags + 4) return std::nullopt;
  const auto is_at = [head](const Guid& guid, std::size_t at) {
    return std::equal(guid.begin(), guid.end(), head.begin() + static_cast<std::ptrdiff_t>(at));
  };
  if (!is_at(kAsfHeader, 0) || !is_at(kAsfFileProperties, kProperties)) return std::nullopt;
  if ((LittleEndian(head.subspan(kFlags, 4)) & kBroadcast) != 0) return std::nullopt;
  return LittleEndian(head.subspan(kLength, 8));
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
    const std::uint64_t size = LittleEndian(head.subspan(4, 4));
    // Who could not go back to write it left it empty, or full.
    if (size == 0 || size == 0xFFFFFFFF) return std::nullopt;
    return size + 8;
  }
  if (const auto length = LengthOfAsf(head)) return length;
  const auto header = ElementAt(head);
  if (!header || header->id != kEbmlHeader || header->size >= head.size()) return std::nullopt;
  const std::size_t at = header->head + static_cast<std::size_t>(header->size);
  if (at >= head.size()) return std::nullopt;
  const auto segment = ElementAt(head.subspan(at));
  if (!segment || segment->id != kSegment || segment->open) return std::nullopt;
  return at + segment->head + segment->size;
}

}  // namespace movra::media
