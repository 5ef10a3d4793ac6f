#include "media/output/sink_kinds.h"

#include <algorithm>
#include <array>

#include "media/output/encoded_file_writer.h"

namespace movra::media {
namespace {

std::shared_ptr<IEncodedSink> MakeFileSink(const SinkRequest& request, std::string* error) {
  return EncodedFileWriter::Create(request, error);
}

constexpr std::array kKinds{
    SinkKind{kFileScheme, "file:PATH or PATH", SinkPolicy::kLossless, &MakeFileSink}};

constexpr std::string_view kLetters = "abcdefghijklmnopqrstuvwxyz";
constexpr std::string_view kBehindLetters = "abcdefghijklmnopqrstuvwxyz0123456789+-.";

// What stands before the first colon, in small letters, if it is a scheme by RFC 3986, section 3.1;
// empty if not.
std::string SchemeOf(std::string_view text) {
  const std::size_t colon = text.find(':');
  if (colon == std::string_view::npos) return {};
  std::string scheme(text.substr(0, colon));
  std::transform(scheme.begin(), scheme.end(), scheme.begin(), [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  });
  const bool is_scheme = !scheme.empty() &&
                         kLetters.find(scheme.front()) != std::string_view::npos &&
                         scheme.find_first_not_of(kBehindLetters) == std::string::npos;
  return is_scheme ? scheme : std::string();
}

std::string Refusal(const std::string& scheme, std::span<const SinkKind> kinds) {
  std::string there_is;
  for (const SinkKind& kind : kinds) {
    there_is += (there_is.empty() ? "" : ", ") + std::string(kind.help);
  }
  return "there is no output of the kind '" + scheme + "://'; use " + there_is +
         " (a file of such a name is ./" + scheme + ":...)";
}

}  // namespace

std::span<const SinkKind> SinkKinds() { return kKinds; }

const SinkKind* FindSinkKind(std::string_view scheme, std::span<const SinkKind> kinds) {
  const auto found = std::find_if(kinds.begin(), kinds.end(),
                                  [scheme](const SinkKind& kind) { return kind.scheme == scheme; });
  return found == kinds.end() ? nullptr : &*found;
}

std::optional<SinkAddress> ReadSinkAddress(std::string_view text, std::string* error,
                                           std::span<const SinkKind> kinds) {
  const std::string scheme = SchemeOf(text);
  if (scheme.empty()) return SinkAddress{std::string(kFileScheme), std::string(text)};
  const std::string_view behind = text.substr(scheme.size() + 1);
  if (FindSinkKind(scheme, kinds) != nullptr) return SinkAddress{scheme, std::string(behind)};
  if (!behind.starts_with("//")) return SinkAddress{std::string(kFileScheme), std::string(text)};
  if (error != nullptr) *error = Refusal(scheme, kinds);
  return std::nullopt;
}

}  // namespace movra::media
