// `movra-producer devices`.

#ifndef MOVRA_APP_DEVICES_COMMAND_H_
#define MOVRA_APP_DEVICES_COMMAND_H_

#include <string>
#include <vector>

#include "app/run_options.h"
#include "video/video_device_info.h"

namespace movra::app {

// The devices, and behind them the test picture that is always there, as a table for people or a
// JSON array for programs, ending in a line end.
[[nodiscard]] std::string DevicesText(const DevicesOptions& options,
                                      std::vector<video::VideoDeviceInfo> devices);

}  // namespace movra::app

#endif  // MOVRA_APP_DEVICES_COMMAND_H_
