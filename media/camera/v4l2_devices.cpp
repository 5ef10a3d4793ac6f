#include "media/camera/v4l2_devices.h"

#include <linux/videodev2.h>

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <system_error>
#include <utility>

namespace movra::media {
namespace {

namespace fs = std::filesystem;

// N of "videoN".
std::optional<int> NumberOf(std::string_view name) {
  constexpr std::string_view kPrefix = "video";
  if (!name.starts_with(kPrefix)) return std::nullopt;
  name.remove_prefix(kPrefix.size());
  int number = 0;
  const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), number);
  if (error != std::errc() || end != name.data() + name.size() || number < 0) return std::nullopt;
  return number;
}

// A fixed field of a driver's answer, which need not end in a zero.
template <std::size_t kLength>
std::string Text(const __u8 (&field)[kLength]) {
  const auto* const begin = reinterpret_cast<const char*>(field);
  return {begin, std::find(begin, begin + kLength, '\0')};
}

}  // namespace

bool IsV4l2Id(std::string_view camera_id) {
  constexpr std::string_view kDirectory = "/dev/";
  return camera_id.starts_with(kDirectory) &&
         NumberOf(camera_id.substr(kDirectory.size())).has_value();
}

std::optional<video::VideoDeviceInfo> QueryDevice(V4l2Io& io, const std::string& path) {
  v4l2_capability capability{};
  if (io.Control(VIDIOC_QUERYCAP, &capability) != 0) return std::nullopt;
  // A driver may serve several nodes; this one's own capabilities are meant.
  const std::uint32_t capabilities = (capability.capabilities & V4L2_CAP_DEVICE_CAPS) != 0
                                         ? capability.device_caps
                                         : capability.capabilities;
  constexpr std::uint32_t kNeeded = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_STREAMING;
  if ((capabilities & kNeeded) != kNeeded) return std::nullopt;
  return video::VideoDeviceInfo{.device_id = path,
                                .name = Text(capability.card),
                                .driver = Text(capability.driver),
                                .capabilities = capabilities};
}

std::vector<video::VideoDeviceInfo> ListV4l2Devices(const std::string& directory,
                                                    const V4l2IoFactory& make_io) {
  std::vector<std::pair<int, std::string>> nodes;
  std::error_code error;
  for (fs::directory_iterator entry(directory, error), end; !error && entry != end;
       entry.increment(error)) {
    if (const auto number = NumberOf(entry->path().filename().string())) {
      nodes.emplace_back(*number, entry->path().string());
    }
  }
  std::sort(nodes.begin(), nodes.end());
  std::vector<video::VideoDeviceInfo> devices;
  for (const auto& [number, path] : nodes) {
    const std::unique_ptr<V4l2Io> io = make_io();
    if (io->Open(path) != 0) continue;
    if (auto device = QueryDevice(*io, path)) devices.push_back(std::move(*device));
  }
  return devices;
}

}  // namespace movra::media
