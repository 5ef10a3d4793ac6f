#include "media/capture/source_id.h"

#include <charconv>

namespace movra::media {
namespace {

// Every byte of the text that is one of `special` as "%" and its number.
std::string Escaped(std::string_view text, std::string_view special) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string escaped;
  for (const char c : text) {
    if (special.find(c) == std::string_view::npos) {
      escaped += c;
      continue;
    }
    const auto byte = static_cast<unsigned char>(c);
    escaped += {'%', kDigits[byte >> 4], kDigits[byte & 15]};
  }
  return escaped;
}

std::string Unescaped(std::string_view text) {
  std::string plain;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const std::string_view digits = text.substr(i + 1, 2);
    const char* const end = digits.data() + digits.size();
    unsigned byte = 0;
    const bool stands_for_a_byte = text[i] == '%' && digits.size() == 2 &&
                                   std::from_chars(digits.data(), end, byte, 16).ptr == end;
    plain += stands_for_a_byte ? static_cast<char>(byte) : text[i];
    if (stands_for_a_byte) i += digits.size();
  }
  return plain;
}

SourceOption ParseOption(std::string_view text) {
  const std::size_t equals = text.find('=');
  SourceOption option{std::string(text.substr(0, equals)), std::nullopt};
  if (equals != std::string_view::npos) option.value = Unescaped(text.substr(equals + 1));
  return option;
}

}  // namespace

SourceId ParseSourceId(std::string_view text) {
  std::size_t end = text.find('?');
  SourceId id{Unescaped(text.substr(0, end)), {}};
  while (end != std::string_view::npos) {
    text.remove_prefix(end + 1);
    end = text.find('&');
    id.options.push_back(ParseOption(text.substr(0, end)));
  }
  return id;
}

std::string SourceAddressOf(std::string_view name) { return Escaped(name, "%?"); }

std::string WithSourceOption(std::string id, std::string_view name,
                             const std::optional<std::string_view>& value) {
  id += id.find('?') == std::string::npos ? '?' : '&';
  id += name;
  if (value) id += "=" + Escaped(*value, "%&");
  return id;
}

}  // namespace movra::media
