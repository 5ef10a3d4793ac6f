#include "app/torn_end_for_test.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <fstream>
#include <iterator>
#include <string_view>

namespace movra::app {
namespace {

constexpr std::size_t kTsPacket = 188;
constexpr std::string_view kFirstOfPicture("\x47\x41\x00", 3);  // In stream number 256.
constexpr std::string_view kSegment = "\x18\x53\x80\x67";
constexpr std::string_view kCluster = "\x1F\x43\xB6\x75";

std::uint64_t Number(std::string_view bytes) {
  std::uint64_t number = 0;
  for (const char byte : bytes) number = number << 8 | static_cast<std::uint8_t>(byte);
  return number;
}

// The length of a number of variable length, whose first bit that is set tells it.
std::size_t LengthOf(char first) {
  std::size_t length = 1;
  for (int bit = 0x80; bit > 0 && (first & bit) == 0; bit >>= 1) ++length;
  return length;
}

std::size_t Mp4(std::string_view file) {
  std::size_t whole = 0;  // Behind the header, or behind the samples of a fragment.
  for (std::size_t at = 0; at + 8 <= file.size();) {
    const std::string_view type = file.substr(at + 4, 4);
    at += std::max<std::uint64_t>(Number(file.substr(at, 4)), 8);
    if (at <= file.size() && (type == "moov" || type == "mdat" || type == "mfra")) whole = at;
  }
  const std::size_t fragment = std::min(whole + 8, file.size());
  const bool is_one = file.find("moof", fragment) == std::string_view::npos;
  return is_one && (fragment < whole + 8 || file.substr(whole + 4, 4) == "moof") ? whole
                                                                                 : file.size();
}

std::size_t Mkv(std::string_view file) {
  std::size_t whole = 0;
  for (std::size_t at = 0; at < file.size();) {
    const std::size_t id = LengthOf(file[at]);
    if (at + id >= file.size()) break;
    const std::size_t length = LengthOf(file[at + id]);
    if (at + id + length > file.size()) break;
    const std::uint64_t size =
        Number(file.substr(at + id, length)) & ((std::uint64_t{1} << 7 * length) - 1);
    const bool is_segment = file.substr(at, id) == kSegment;
    at += id + length;
    if (is_segment) continue;  // It lasts as long as the file.
    if (size > file.size() - at) break;
    at += size;
    whole = at;
  }
  const std::string_view torn = file.substr(whole);
  const bool is_one =
      torn.find(kCluster, 1) == std::string_view::npos &&
      torn.substr(0, 4) == kCluster.substr(0, std::min<std::size_t>(4, torn.size()));
  return is_one ? whole : file.size();
}

// A picture has no length; the last one is passed over even if it is whole.
std::size_t Ts(std::string_view file) {
  for (std::size_t at = file.size() / kTsPacket * kTsPacket; at >= kTsPacket;) {
    at -= kTsPacket;
    if (file.substr(at, 3) == kFirstOfPicture) return at;
  }
  return file.size();
}

}  // namespace

std::uintmax_t BytesBeforeATornEnd(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  const std::string file{std::istreambuf_iterator<char>(in), {}};
  if (path.ends_with(".mkv")) return Mkv(file);
  return path.ends_with(".ts") ? Ts(file) : Mp4(file);
}

}  // namespace movra::app
