#include "media/output/container_format.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <string_view>
#include <utility>

namespace movra::media {

std::optional<ContainerFormat> ContainerFormatForPath(const std::string& path) {
  constexpr std::array<std::pair<std::string_view, ContainerFormat>, 5> kEndings{{
      {".mp4", ContainerFormat::kMp4},
      {".mkv", ContainerFormat::kMkv},
      {".ts", ContainerFormat::kMpegTs},
      {".h264", ContainerFormat::kAnnexB},
      {".264", ContainerFormat::kAnnexB},
  }};
  std::string ending = std::filesystem::path(path).extension().string();
  std::transform(ending.begin(), ending.end(), ending.begin(), [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  });
  const auto found = std::find_if(kEndings.begin(), kEndings.end(),
                                  [&ending](const auto& entry) { return entry.first == ending; });
  if (found == kEndings.end()) return std::nullopt;
  return found->second;
}

}  // namespace movra::media
