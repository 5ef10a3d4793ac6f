#include "app/devices_command.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace movra::app {
namespace {

using Json = nlohmann::ordered_json;

std::string Padded(const std::string& text, std::size_t width) {
  return text + std::string(width > text.size() ? width - text.size() : 0, ' ');
}

}  // namespace

std::string DevicesText(const DevicesOptions& options,
                        std::vector<video::VideoDeviceInfo> devices) {
  devices.push_back({.device_id = "test:", .name = "Test picture", .driver = "test"});
  if (options.json) {
    Json list = Json::array();
    for (const video::VideoDeviceInfo& device : devices) {
      list.push_back({{"id", device.device_id}, {"name", device.name}, {"driver", device.driver}});
    }
    // A device names itself, in whatever bytes it likes.
    return list.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
  }
  std::size_t id_width = 6;
  std::size_t name_width = 4;
  for (const video::VideoDeviceInfo& device : devices) {
    id_width = std::max(id_width, device.device_id.size());
    name_width = std::max(name_width, device.name.size());
  }
  std::string text = Padded("camera", id_width) + "  " + Padded("name", name_width) + "  driver\n";
  for (const video::VideoDeviceInfo& device : devices) {
    text += Padded(device.device_id, id_width) + "  " + Padded(device.name, name_width) + "  " +
            device.driver + "\n";
  }
  return text + "and any video file, as file:PATH\n";
}

}  // namespace movra::app
