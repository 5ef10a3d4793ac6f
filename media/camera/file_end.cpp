#include "media/camera/file_end.h"

#include <array>
#include <cstdio>

#include "media/camera/camera_error.h"

namespace movra::media {

video::StreamEnd EndOfFile(const std::string& path, const FileReading& reading) {
  video::StreamEnd end;
  end.damaged_frames = reading.damaged_frames;
  if (reading.delivered_frames == 0) {
    end.error_code = static_cast<std::int32_t>(CameraError::kNothingDecoded);
    end.reason = "not one frame of '" + path + "' could be decoded";
  } else if (reading.broken_off) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.2f",
                  std::chrono::duration<double>(reading.duration).count());
    end.error_code = static_cast<std::int32_t>(CameraError::kBrokenOff);
    end.reason = "'" + path + "' breaks off after " + text.data() + " s";
  }
  return end;
}

}  // namespace movra::media
